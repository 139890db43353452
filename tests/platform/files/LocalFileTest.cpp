#include "platform/files/LocalFile.h"

#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

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

    void remoteUrlHasNoLocalPath() { QCOMPARE(localFilePath(QUrl(u"https://host/a.mp3"_s)), QByteArray()); }

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

    void refusesWhatIsNotARegularFile()
    {
        QTemporaryDir folder;
        const QString fifo = folder.filePath(u"fifo.mp3"_s);
        QCOMPARE(mkfifo(fifo.toUtf8().constData(), 0600), 0);
        for (const QString &path : {fifo, folder.path(), u"/dev/zero"_s, u"/dev/tty"_s}) {
            const auto opened = openRegularFile(QUrl::fromLocalFile(path));
            QVERIFY2(opened.isError(), qPrintable(path));
            QVERIFY(!opened.error().description.isEmpty());
        }
    }

    void missingFileIsNamedAsMissing()
    {
        const auto opened = openRegularFile(QUrl::fromLocalFile(u"/nowhere/a.mp3"_s));
        QVERIFY(opened.isError());
        QCOMPARE(opened.error().description, u"El archivo no existe."_s);
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
        }
        QCOMPARE(fcntl(number, F_GETFD), -1);
    }
};

QTEST_GUILESS_MAIN(LocalFileTest)
#include "LocalFileTest.moc"
