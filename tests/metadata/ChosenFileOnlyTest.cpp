#include "tests/TestProgram.h"

#include <QDir>
#include <QProcess>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;

namespace {

/// The lines that strace wrote between the two marks of the traced program.
QStringList linesWhileReading(const QString &trace)
{
    QFile file(trace);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const QString text = QString::fromUtf8(file.readAll());
    const qsizetype begin = text.indexOf(u"reading begins"_s);
    const qsizetype end = text.indexOf(u"reading ends"_s);
    if (begin < 0 || end < begin)
        return {};
    QStringList lines = text.sliced(begin, end - begin).split(u'\n');
    lines.removeFirst();
    lines.removeLast();
    return lines;
}

} // namespace

/// Nothing but the chosen file is opened, and nobody is called, whatever the bytes of that file say. Needs
/// strace.
class ChosenFileOnlyTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void opensNothingElse_data()
    {
        QTest::addColumn<QString>("path");
        const QDir media(QStringLiteral(TEST_MEDIA));
        for (const char *name : {"hls.mp3", "hls.m4a", "ffconcat.mp3", "ffconcat.m4a", "sdp.mp3", "sdp.m4a",
                 "dash.mp3", "dash.m4a", "picture.mp3", "linked-picture.mp3", "noise.mp3", "empty.mp3",
                 "truncated.m4a", "three-tags.mp3", "vorbis.ogg", "matroska.mka"})
            QTest::newRow(name) << media.filePath(QString::fromLatin1(name));
    }
    void opensNothingElse()
    {
        QFETCH(QString, path);
        QTemporaryDir folder;
        const QString trace = folder.filePath(u"trace"_s);
        QProcess strace;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"ASAN_OPTIONS"_s, u"detect_leaks=0"_s); // impossible in a traced process
        strace.setProcessEnvironment(environment);
        strace.start(u"strace"_s,
            {u"-f"_s, u"-qq"_s, u"-s"_s, u"4096"_s, u"-o"_s, trace, u"-e"_s,
                u"trace=open,openat,openat2,creat,access,faccessat,faccessat2,socket,connect,execve"_s,
                QStringLiteral(READ_MEDIA_FILE), QStringLiteral(TEST_MEDIA "/core.caf"),
                QStringLiteral(TEST_MEDIA "/id3v2.4.mp3"), path});
        QVERIFY2(strace.waitForFinished(60'000), "strace does not start, or what it runs does not end");
        QCOMPARE(strace.exitCode(), 0);

        const QStringList lines = linesWhileReading(trace);
        QCOMPARE(lines.size(), 2); // once for the metadata, once for the sound
        for (const QString &line : lines)
            QVERIFY2(line.contains(u"openat(AT_FDCWD, \"%1\", O_RDONLY"_s.arg(path)), qPrintable(line));
    }
};

LUMAVERDINE_TEST(ChosenFileOnlyTest)
#include "ChosenFileOnlyTest.moc"
