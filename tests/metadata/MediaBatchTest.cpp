#include "metadata/MediaBatch.h"
#include "decoder/MediaSource.h"
#include "tests/MemoryFile.h"
#include "tests/TaggedFile.h"
#include "tests/TestProgram.h"
#include "tests/files/FaultyMedium.h"
#include "tests/metadata/HeapSize.h"

#include <QDir>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

QString title(const MediaAsset &asset)
{
    const auto titles = metadataItems(asset.commonMetadata, CommonIdentifier::Title);
    return titles.isEmpty() ? QString() : titles.first().stringValue.value_or(QString());
}

QList<QUrl> filesOf(const QString &folder)
{
    QList<QUrl> urls;
    for (const QFileInfo &info : QDir(folder).entryInfoList(QDir::Files, QDir::Name))
        urls.append(QUrl::fromLocalFile(info.filePath()));
    return urls;
}

/// Whether all threads but this one wait for something.
bool othersSleep()
{
    for (const QString &thread : QDir(u"/proc/self/task"_s).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile file(u"/proc/self/task/"_s + thread + u"/stat"_s);
        if (thread.toInt() != gettid() && file.open(QIODevice::ReadOnly) && !file.readAll().contains(") S "))
            return false;
    }
    return true;
}

} // namespace

class MediaBatchTest : public QObject {
    Q_OBJECT

private:
    /// Folders of tagged files, some of which are the same one, which does not answer.
    struct SilentFiles {
        QTemporaryDir folder;
        QString silent = folder.filePath(u"silent.mp3"_s);
        QList<QUrl> urls; ///< of the others, in the order in which they were made

        SilentFiles()
        {
            if (!QFile::copy(Good, silent))
                qFatal("The temporary folder is not writable.");
        }

        void add(const QString &subfolder, bool isSilent)
        {
            QDir(folder.path()).mkdir(subfolder);
            const QString name = folder.filePath(u"%1/%2.mp3"_s.arg(subfolder).arg(urls.size()));
            if (isSilent ? link(qPrintable(silent), qPrintable(name)) != 0 : !QFile::copy(Good, name))
                qFatal("The temporary folder is not writable.");
            urls.append(QUrl::fromLocalFile(name));
        }
    };

    static inline const QString Good = QStringLiteral(TEST_MEDIA "/id3v2.3.mp3");
    static constexpr BatchTimeouts Short{.file = 500ms, .batch = 1700ms};

    /// Takes a file and returns its name, without the extension but with an exclamation mark if it has no tags.
    static QString taken(MediaBatch &media)
    {
        const auto file = media.take();
        if (!file)
            return u"none"_s;
        const QString name = QFileInfo(file->url.path()).completeBaseName();
        return title(file->asset) == u"Título 2.3"_s ? name : name + u'!';
    }

private Q_SLOTS:
    void everyFileIsReadInItsTurn()
    {
        const QList<QUrl> urls = filesOf(QStringLiteral(TEST_MEDIA));
        QVERIFY(urls.size() > 50);
        MediaBatch media(urls);
        for (const QUrl &url : urls) {
            const auto file = media.take();
            const MediaAsset alone = readMedia(url);
            QCOMPARE(file->url, url);
            QCOMPARE(file->asset.duration.value, alone.duration.value);
            QCOMPARE(file->asset.duration.timescale, alone.duration.timescale);
            QCOMPARE(file->asset.commonMetadata.size(), alone.commonMetadata.size());
            QCOMPARE(title(file->asset), title(alone));
        }
        QVERIFY(!media.take());
    }

    void largeCoversAreNotReadFarAhead()
    {
#ifdef __SANITIZE_ADDRESS__
        QSKIP("The sanitizer's heap is not counted.");
#endif
        constexpr int side = 1'800; // 12 MB
        const CoverFiles files;
        QList<QUrl> urls;
        for (int i = 0; i < 8; ++i)
            urls.append(files.save(QString::number(i), QByteArray(side * side * 4, 'x')));
        const double before = heapMebibytes();
        MediaBatch media(urls);
        QTRY_VERIFY(heapMebibytes() - before > 20 && othersSleep());
        const double more = heapMebibytes() - before;
        QVERIFY2(more < 40, qPrintable(QString::number(more)));
        for (qsizetype i = 0; i < urls.size(); ++i)
            QCOMPARE(media.take()->asset.firstPicture().size(), side * side * 4);
    }

    void batchMayEndBeforeItsFiles()
    {
        const auto threads = [] { return QDir(u"/proc/self/task"_s).count(); };
        const auto before = threads();
        for (const int taken : {0, 1, 10}) {
            MediaBatch media(filesOf(QStringLiteral(TEST_MEDIA)));
            for (int i = 0; i < taken; ++i)
                (void)media.take();
            QTRY_VERIFY(othersSleep());
        }
        QVERIFY(!MediaBatch({}).take());
        QTRY_COMPARE(threads(), before);
    }

    void timeoutsAreThese()
    {
        QCOMPARE(BatchTimeouts().file, 3s);
        QCOMPARE(BatchTimeouts().batch, 10s);
    }

    void silentFileIsGivenUpAndItsFolderComesLast()
    {
        SilentFiles files;
        for (const QString &folder : {u"a"_s, u"b"_s, u"a"_s, u"c"_s, u"a"_s})
            files.add(folder, files.urls.isEmpty());
        FaultyMedium medium(files.silent.toUtf8());
        medium.set(FaultyMedium::Fault::Silence);
        MediaBatch media(files.urls, Short);
        for (const QString &file : {u"0!"_s, u"1"_s, u"3"_s, u"2"_s, u"4"_s, u"none"_s})
            QCOMPARE(taken(media), file);
        QCOMPARE(medium.faults(), 1);
    }

    void goodFilesBesideSilentOnesKeepTheirTags()
    {
        SilentFiles files;
        for (int i = 0; i < 40; ++i)
            files.add(u"a"_s, i % 13 == 0);
        FaultyMedium medium(files.silent.toUtf8());
        medium.set(FaultyMedium::Fault::Silence);
        MediaBatch media(files.urls, Short);
        for (int i = 0; i < 40; ++i)
            QCOMPARE(taken(media), QString::number(i) + (i % 13 == 0 ? u"!"_s : QString()));
        QCOMPARE(medium.faults(), 4);
    }

    void mediumThatIsSlowIsNotSilent()
    {
        SilentFiles files;
        for (int i = 0; i < 10; ++i)
            files.add(u"a"_s, true);
        FaultyMedium medium(files.silent.toUtf8());
        medium.set(FaultyMedium::Fault::Slowness);
        QElapsedTimer timer;
        timer.start();
        MediaBatch media(files.urls, {.file = 1500ms, .batch = 1500ms});
        for (int i = 0; i < 10; ++i)
            QCOMPARE(taken(media), QString::number(i));
        QVERIFY(timer.elapsed() > 1500);
    }

    void timeoutDoesNotCountWhileThereIsEnoughRead()
    {
        SilentFiles files;
        for (int i = 0; i < 40; ++i)
            files.add(u"a"_s, false);
        MediaBatch media(files.urls, Short);
        QTRY_VERIFY(othersSleep());
        QElapsedTimer timer;
        timer.start();
        QTRY_VERIFY(timer.hasExpired(Short.file.count()));
        for (int i = 0; i < 40; ++i)
            QCOMPARE(taken(media), QString::number(i));
    }

    void batchGivesUpOnceItHasWaitedTooLongInAll()
    {
        SilentFiles files;
        files.add(u"a"_s, true);
        files.add(u"good"_s, false);
        for (int i = 0; i < 100; ++i)
            files.add(i % 2 == 0 ? u"a"_s : u"b"_s, true);
        files.add(u"a"_s, false);
        FaultyMedium medium(files.silent.toUtf8());
        medium.set(FaultyMedium::Fault::Silence);
        QElapsedTimer timer;
        timer.start();
        MediaBatch media(files.urls, Short);
        QCOMPARE(taken(media), u"0!"_s);
        QCOMPARE(taken(media), u"1"_s);
        for (int i = 0; i < 101; ++i)
            QVERIFY(taken(media).endsWith(u'!'));
        QCOMPARE(taken(media), u"none"_s);
        QVERIFY(timer.elapsed() >= 1700);
        QVERIFY2(timer.elapsed() < 2200, qPrintable(QString::number(timer.elapsed())));
        QCOMPARE(medium.faults(), 4);
    }

    void mediumThatAnswersAgainIsRead()
    {
        SilentFiles files;
        files.add(u"a"_s, true);
        FaultyMedium medium(files.silent.toUtf8());
        medium.set(FaultyMedium::Fault::Silence);
        MediaBatch first(files.urls, Short);
        QCOMPARE(taken(first), u"0!"_s);
        medium.set(FaultyMedium::Fault::None);
        MediaBatch second(files.urls, Short);
        QCOMPARE(taken(second), u"0"_s);
    }

    void readThatASignalInterruptsIsDoneAgain()
    {
        const SilentFiles files;
        FaultyMedium medium(files.silent.toUtf8());
        medium.set(FaultyMedium::Fault::Interruption);
        const MediaAsset asset = readMedia(QUrl::fromLocalFile(files.silent));
        QVERIFY(medium.faults() > 1);
        QCOMPARE(title(asset), u"Título 2.3"_s);
        QCOMPARE(asset.duration.seconds(), 2.0);
    }

    void readThatComesInPortionsGoesOnToItsEnd()
    {
        const SilentFiles files;
        const QByteArray whole = readMedia(QUrl::fromLocalFile(files.silent)).firstPicture();
        FaultyMedium medium(files.silent.toUtf8());
        medium.set(FaultyMedium::Fault::Portions);
        const MediaAsset asset = readMedia(QUrl::fromLocalFile(files.silent));
        QVERIFY(medium.faults() > 10);
        QVERIFY(!whole.isEmpty());
        QCOMPARE(asset.firstPicture(), whole);
        QCOMPARE(asset.duration.seconds(), 2.0);
    }

    void lastByteIsRead()
    {
        const MemoryFile bytes("x");
        const FileDescriptor file = bytes.open();
        QCOMPARE(MediaSource(file.get()).read(0, 9), QByteArray("x"));
    }

    void batchMayEndWhileAMediumIsSilent()
    {
        const SilentFiles files;
        FaultyMedium medium(files.silent.toUtf8());
        medium.set(FaultyMedium::Fault::Silence);
        QElapsedTimer timer;
        timer.start();
        {
            MediaBatch media({QUrl::fromLocalFile(files.silent)});
            QTRY_VERIFY(medium.faults() > 0);
        }
        QVERIFY(timer.elapsed() < 1000);
    }
};

LUMAVERDINE_TEST(MediaBatchTest)
#include "MediaBatchTest.moc"
