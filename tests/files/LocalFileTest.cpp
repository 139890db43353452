#include "files/LocalFile.h"
#include "tests/TestProgram.h"

#include <QFile>
#include <QTemporaryDir>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

class LocalFileTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void pathKeepsReservedCharacters()
    {
        const QString path = u"/m/100% #1?.mp3"_s;
        QCOMPARE(localFilePath(QUrl::fromLocalFile(path)), path.toUtf8());
    }

    void pathKeepsBytesThatAreNotUtf8()
    {
        QCOMPARE(localFilePath(QUrl(u"file:///m/%FFa%C3.mp3"_s)),
            QByteArray("/m/\xff"
                       "a\xc3.mp3"));
    }

    void remoteUrlHasNoLocalPath()
    {
        for (const auto &address : {u"https://host/a.mp3"_s, u"smb:/m/a.mp3"_s}) {
            QCOMPARE(localFilePath(QUrl(address)), QByteArray());
            QCOMPARE(localFolderPath(QUrl(address)), QByteArray());
            QCOMPARE(localFileName(QUrl(address)), u"a.mp3"_s);
        }
    }

    void folderIsThePathUpToItsLastSlash()
    {
        QCOMPARE(localFolderPath(QUrl(u"file:///m/n/a.mp3"_s)), "/m/n"_ba);
        QCOMPARE(localFolderPath(QUrl(u"file:///a.mp3"_s)), ""_ba);
    }

    void fileOfAnotherHostHasNoLocalPath()
    {
        QCOMPARE(localFilePath(QUrl(u"file://host/m/a.mp3"_s)), QByteArray());
        QCOMPARE(localFilePath(QUrl(u"file://localhost/m/a.mp3"_s)), "/m/a.mp3"_ba);
    }

    void standardizedPathIsTheSameForAllSpellings()
    {
        for (const char *path : {"/m/a.mp3", "/m/./x/..//a.mp3", "/m/a.mp3/.", "/m/a.mp3/", "/m//a.mp3//",
                 "/m/a.mp3/./", "/m/a.mp3/x/..", "//m/a.mp3", "/../m/a.mp3"})
            QCOMPARE(standardizedFilePath(QUrl(u"file://"_s + QString::fromLatin1(path))), "/m/a.mp3"_ba);
        QCOMPARE(standardizedFilePath(QUrl(u"file:///"_s)), "/"_ba);
        QCOMPARE(standardizedFilePath(QUrl(u"file:///m/.."_s)), "/"_ba);
    }

    void opensFileWhoseNameIsNotUtf8()
    {
        QTemporaryDir folder;
        const QByteArray path = folder.path().toUtf8() + "/\xff#%.mp3";
        close(::open(path.constData(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600));
        const QUrl url(u"file://"_s + QString::fromLatin1(path.toPercentEncoding("/")));
        QVERIFY(!openRegularFile(url).isError());
    }

    void nothingIsLookedForInAFolderWhereALookupHangs()
    {
        const auto start = FolderLookup::Clock::now();
        const auto isBlocked = [&](const QByteArray &folder, std::chrono::milliseconds later) {
            return FolderLookup(folder, start + later).isBlocked();
        };
        auto hanging = std::make_unique<FolderLookup>("/m", start);
        const FolderLookup beforeThat("/l", start - 1h), behind("/n", start - 1h);
        const FolderLookup second("/m", start + 1s);
        QVERIFY(!hanging->isBlocked());
        QVERIFY(!second.isBlocked());
        QVERIFY(!isBlocked("/m", 1999ms));
        QVERIFY(isBlocked("/m", 2s));
        QVERIFY(isBlocked("/m", 1h));
        QVERIFY(!isBlocked("/m/n", 1h));
        hanging.reset();
        QVERIFY(!isBlocked("/m", 2999ms));
        QVERIFY(isBlocked("/m", 3s));
    }

    void fileInAFolderWhereALookupHangsIsNotOpened()
    {
        QTemporaryDir folder;
        QFile file(folder.filePath(u"a.mp3"_s));
        QVERIFY(file.open(QIODevice::WriteOnly));
        const QUrl url = QUrl::fromLocalFile(file.fileName());
        auto hanging = std::make_unique<FolderLookup>(localFolderPath(url), FolderLookup::Clock::now() - 2s);
        QCOMPARE(openRegularFile(url).error().description, u"El archivo no responde."_s);
        hanging.reset();
        QVERIFY(!openRegularFile(url).isError());
    }

    void saysWhyAFileIsNotOpened()
    {
        QTemporaryDir folder;
        const QString fifo = folder.filePath(u"fifo.mp3"_s);
        QCOMPARE(mkfifo(fifo.toUtf8().constData(), 0600), 0);
        const auto reasonFor = [](const QString &path) {
            const auto opened = openRegularFile(QUrl(u"file://"_s + path));
            return opened.isError() ? opened.error().description : QString();
        };
        for (const QString &path : {fifo, folder.path(), u"/dev/zero"_s})
            QCOMPARE(reasonFor(path), u"No es un archivo normal."_s);
        QVERIFY(!reasonFor(u"/dev/tty"_s).isEmpty());
        for (const QString &path : {u"/nowhere/a.mp3"_s, u"/dev/null/a.mp3"_s})
            QCOMPARE(reasonFor(path), u"El archivo no existe."_s);
        for (const QString &path : {u"host/m/a.mp3"_s, fifo + u"%00"_s})
            QCOMPARE(reasonFor(path), u"La ubicación no es un archivo de este equipo."_s);
        QCOMPARE(reasonFor(u'/' + QString(300, u'a')),
            u"El archivo no se puede abrir (%1)."_s.arg(qt_error_string(ENAMETOOLONG)));
    }

    void descriptorIsClosedWithItsOwner()
    {
        QTemporaryDir folder;
        QFile file(folder.filePath(u"a.mp3"_s));
        QVERIFY(file.open(QIODevice::WriteOnly));
        int number = -1;
        {
            auto opened = openRegularFile(QUrl::fromLocalFile(file.fileName()));
            const FileDescriptor descriptor = opened.take();
            number = descriptor.get();
            QVERIFY(fcntl(number, F_GETFD) >= 0);
            QVERIFY(!(fcntl(number, F_GETFL) & O_NONBLOCK));
        }
        QCOMPARE(fcntl(number, F_GETFD), -1);
    }
};

LUMAVERDINE_TEST(LocalFileTest)
#include "LocalFileTest.moc"
