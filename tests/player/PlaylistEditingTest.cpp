#include "files/LocalFile.h"
#include "metadata/MediaAsset.h"
#include "tests/TestProgram.h"
#include "tests/files/FakeSandbox.h"
#include "tests/player/PlayerFixture.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTemporaryFile>
#include <algorithm>
#include <array>
#include <ctime>
#include <limits>
#include <sys/inotify.h>
#include <sys/xattr.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

/// Least processor time, of three tries, that admitting `count` files to an empty player takes.
std::clock_t admissionTime(int count)
{
    QList<QUrl> urls;
    for (int i = 0; i < count; ++i)
        urls.append(PlayerFixture::url(QString::number(i)));
    auto least = std::numeric_limits<std::clock_t>::max();
    for (int i = 0; i < 3; ++i) {
        PlayerFixture f;
        const std::clock_t start = std::clock();
        f.player.addFiles(urls);
        least = std::min(least, std::clock() - start);
    }
    return least;
}

} // namespace

class PlaylistEditingTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void numbersInNamesCompareByValue()
    {
        PlayerFixture f;
        f.player.addFiles({f.url(u"Track 10.mp3"_s), f.url(u"Track 2.mp3"_s)});
        QCOMPARE(f.track(0).title, u"Track 2"_s);
        QCOMPARE(f.track(1).title, u"Track 10"_s);
    }

    void otherSpellingsOfAPathAreTheSameFile()
    {
        PlayerFixture f;
        f.add("a"_L1);
        f.player.addFiles({f.url(u"./a.mp3"_s), f.url(u"x/../a.mp3"_s), f.url(u"x/./y/../../a.mp3"_s),
            f.url(u"a.mp3/."_s), f.url(u"a.mp3/"_s), f.url(u"/a.mp3"_s)});
        QCOMPARE(f.titles(), u"a"_s);
    }

    void documentsOfTheSameFileAreTheSameFile()
    {
        const FakeSandbox sandbox;
        const QTemporaryDir runtimeFolder;
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(runtimeFolder.path()));
        int count = 0;
        const auto document = [&](const QByteArray &hostPath) {
            const QDir folder(runtimeFolder.filePath(u"doc/%1"_s.arg(++count)));
            folder.mkpath(u"."_s);
            QFile file(folder.filePath(QFileInfo(QFile::decodeName(hostPath)).fileName()));
            file.open(QIODevice::WriteOnly);
            fsetxattr(file.handle(), "user.document-portal.host-path", hostPath.constData(),
                size_t(hostPath.size()), 0);
            return QUrl::fromLocalFile(file.fileName());
        };
        PlayerFixture f;
        const QUrl a = document("/m/a.mp3");
        f.player.addFiles({a, document("/m/b.mp3"), document("/m/a.mp3")});
        QCOMPARE(f.titles(), u"ab"_s);
        f.player.addFiles({a, document("/m/b.mp3"), document("/n/a.mp3")});
        QCOMPARE(f.titles(), u"aba"_s);
    }

    void addressesThatAreNotFilesAreAdmittedOneByOne()
    {
        PlayerFixture f;
        f.player.addFiles({QUrl(u"http://a/x.mp3"_s), QUrl(u"http://b/y.mp3"_s), QUrl(u"http://a/x.mp3"_s)});
        QCOMPARE(f.titles(), u"xy"_s);
    }

    void costOfAdmissionGrowsWithTheFilesAndNotWithTheirSquare()
    {
        // Walking the playlist for each of 16 times the files would take 256 times as long.
        QVERIFY(admissionTime(16'000) < 40 * admissionTime(1'000));
    }

    void fileIsAddedToALongListWithoutAWalkThroughIt()
    {
        QList<Track> tracks;
        for (int i = 0; i < 100'000; ++i)
            tracks.append(Track(PlayerFixture::url(QString::number(i)), MediaAsset()));
        PlayerFixture f;
        f.player.playlist = std::move(tracks);
        f.add("a"_L1); // the first one after a write from outside may take longer
        auto least = std::numeric_limits<std::clock_t>::max();
        for (const char letter : {'b', 'c', 'd', 'e', 'f', 'g', 'h'}) {
            const std::clock_t start = std::clock();
            f.add(QLatin1StringView(&letter, 1));
            least = std::min(least, std::clock() - start);
        }
        QVERIFY2(least < CLOCKS_PER_SEC / 1000, qPrintable(QString::number(least)));
    }

    void listedFilesAreKnownWhateverHasChangedTheList()
    {
        PlayerFixture f;
        f.add("abc"_L1);
        f.player.moveTrack({0}, 3);
        f.add("abc"_L1);
        QCOMPARE(f.titles(), u"bca"_s);

        f.player.playlist = {f.track(1), Track(f.track(1).url())};
        f.add("ac"_L1);
        QCOMPARE(f.titles(), u"cca"_s);

        f.player.removeTrack(f.track(0));
        f.add("c"_L1);
        QCOMPARE(f.titles(), u"ca"_s);

        f.player.clearPlaylist();
        f.add("ac"_L1);
        QCOMPARE(f.titles(), u"ac"_s);
    }

    void listThatChangesDuringAnAdmissionIsConsultedAfresh()
    {
        PlayerFixture f;
        f.add("b"_L1);
        int writes = 0;
        connect(&f.player, &PlayerManager::objectWillChange, this, [&] {
            if (++writes == 1) // before a is appended
                f.player.playlist = {Track(f.url(u"c.mp3"_s))};
        });
        f.add("abcd"_L1);
        QCOMPARE(f.titles(), u"cabd"_s);
    }

    void listedFileIsNotReadAgain()
    {
        QTemporaryFile file;
        QVERIFY(file.open());
        const QByteArray path = file.fileName().toUtf8();
        const FileDescriptor watch(inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
        QVERIFY(inotify_add_watch(watch.get(), path.constData(), IN_OPEN) >= 0);
        PlayerFixture f;
        std::array<char, 4096> openings{};
        f.player.addFiles({QUrl::fromLocalFile(file.fileName())});
        QVERIFY(read(watch.get(), openings.data(), openings.size()) > 0);
        f.player.addFiles({QUrl::fromLocalFile(file.fileName()), f.url(u"a.mp3"_s)});
        QCOMPARE(f.titles(), QFileInfo(file).completeBaseName() + u'a');
        QCOMPARE(read(watch.get(), openings.data(), openings.size()), -1);
    }

    void removedFileCanBeAdmittedAgainAsANewTrack()
    {
        PlayerFixture f;
        f.add("ab"_L1);
        const Track removed = f.track(0);
        f.player.removeTrack(removed);
        f.add("a"_L1);
        QCOMPARE(f.titles(), u"ba"_s);
        QVERIFY(!(f.track(1) == removed));
        QCOMPARE(f.current(), u"b"_s);
    }
};

LUMAVERDINE_TEST(PlaylistEditingTest)
#include "PlaylistEditingTest.moc"
