#include "files/StandardStreams.h"
#include "tests/StandardOutput.h"
#include "tests/TestProgram.h"

#include <climits>
#include <fcntl.h>
#include <pty.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <termios.h>

using namespace Qt::StringLiterals;

namespace {

struct Pipe {
    int reader = -1;
    int writer = -1;

    Pipe()
    {
        int ends[2];
        if (pipe(ends) != 0)
            qFatal("There is no pipe.");
        reader = ends[0];
        writer = ends[1];
    }
    ~Pipe()
    {
        closeReader();
        close(writer);
    }
    Pipe(const Pipe &) = delete;
    Pipe &operator=(const Pipe &) = delete;

    void closeReader()
    {
        if (reader >= 0)
            close(std::exchange(reader, -1));
    }

    /// Leaves room for `room` pages.
    void fill(int room) const
    {
        const QByteArray page(PIPE_BUF, 'x');
        for (int i = room; i < fcntl(writer, F_GETPIPE_SZ) / PIPE_BUF; ++i) {
            if (write(writer, page.constData(), PIPE_BUF) != PIPE_BUF)
                qFatal("The pipe is too small.");
        }
    }

    [[nodiscard]] QByteArray take(qsizetype most = 1 << 20) const
    {
        QByteArray bytes(most, '\0');
        return bytes.first(read(reader, bytes.data(), std::size_t(most)));
    }
};

bool isSilentDevice(int descriptor)
{
    struct stat status = {}, silence = {};
    return fstat(descriptor, &status) == 0 && stat("/dev/null", &silence) == 0
        && status.st_rdev == silence.st_rdev && (fcntl(descriptor, F_GETFL) & O_ACCMODE) == O_RDWR;
}

void printTo(int descriptor, const QString &line)
{
    withStandardOutput(descriptor, [&] { printLine(line); });
}

} // namespace

/// A function that waits for an output is ended by the signal of the alarm, the whole program with it.
class StandardStreamsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { guardStandardStreams(); }
    void init() { alarm(20); }
    void cleanup() { alarm(0); }

    void lineIsWrittenWithABreak()
    {
        const QString longLine(3 * PIPE_BUF, u'é');
        QCOMPARE(standardOutputOf([] { printLine(u"canción"_s); }), "canción\n"_ba);
        QCOMPARE(standardOutputOf([&] { printLine(longLine); }), longLine.toUtf8() + '\n');
        const Pipe pipe;
        printTo(pipe.writer, u"canción"_s);
        QCOMPARE(pipe.take(), "canción\n"_ba);
    }

    void lineWhoseReaderIsGoneIsLost()
    {
        Pipe pipe;
        pipe.closeReader();
        printTo(pipe.writer, u"lost"_s);
        QCOMPARE(standardOutputOf([] { printLine(u"told"_s); }), "told\n"_ba);
    }

    void lineForAFullPipeIsLost()
    {
        const Pipe pipe;
        pipe.fill(0);
        printTo(pipe.writer, u"lost"_s);
        QVERIFY(!pipe.take().contains("lost"));
        printTo(pipe.writer, u"told"_s);
        QCOMPARE(pipe.take(), "told\n"_ba);
    }

    void diagnosticForAFullPipeIsLost()
    {
        const Pipe pipe;
        pipe.fill(0);
        const int original = dup(STDERR_FILENO);
        dup2(pipe.writer, STDERR_FILENO);
        qWarning("lost");
        const QByteArray before = pipe.take();
        qWarning("told");
        dup2(original, STDERR_FILENO);
        close(original);
        QVERIFY(!before.contains("lost"));
        QCOMPARE(pipe.take(), "told\n"_ba);
    }

    void lineThatFillsThePipeIsWritten()
    {
        const Pipe pipe;
        pipe.fill(1);
        printTo(pipe.writer, QString(PIPE_BUF - 1, u'a'));
        QVERIFY(pipe.take().endsWith("xa" + QByteArray(PIPE_BUF - 2, 'a') + '\n'));
    }

    void lineTooLongForThePipeIsCut()
    {
        const Pipe pipe;
        pipe.fill(1);
        printTo(pipe.writer, QString(2 * PIPE_BUF, u'a'));
        QVERIFY(pipe.take().endsWith("x" + QByteArray(PIPE_BUF, 'a')));
    }

    void inheritedOutputIsLeftAsItIs()
    {
        const Pipe pipe;
        const int flags = fcntl(pipe.writer, F_GETFL);
        printTo(pipe.writer, u"line"_s);
        QCOMPARE(fcntl(pipe.writer, F_GETFL), flags);
    }

    void lineForAStoppedTerminalIsLost()
    {
        int master = -1, terminal = -1;
        QCOMPARE(openpty(&master, &terminal, nullptr, nullptr, nullptr), 0);
        QCOMPARE(tcflow(terminal, TCOOFF), 0);
        printTo(terminal, u"lost"_s);
        QCOMPARE(tcflow(terminal, TCOON), 0);
        printTo(terminal, u"told"_s);
        QByteArray shown(100, '\0');
        QCOMPARE(shown.first(read(master, shown.data(), 100)), "told\r\n"_ba);
        close(master);
        close(terminal);
    }

    void lineWithoutAnOutputIsLost()
    {
        printTo(-1, u"lost"_s);
        const int full = open("/dev/full", O_WRONLY);
        printTo(full, u"lost"_s);
        close(full);
        QCOMPARE(standardOutputOf([] { printLine(u"told"_s); }), "told\n"_ba);
    }

    void closedStreamsAreReplacedAndOpenOnesKept()
    {
        const pid_t child = fork();
        if (child == 0) {
            const int free = dup(STDOUT_FILENO);
            close(free);
            close(STDIN_FILENO);
            close(STDERR_FILENO);
            guardStandardStreams();
            const bool areKept = isSilentDevice(STDIN_FILENO) && isSilentDevice(STDERR_FILENO)
                && !isSilentDevice(STDOUT_FILENO) && dup(STDOUT_FILENO) == free;
            close(STDOUT_FILENO);
            guardStandardStreams();
            _exit(areKept && isSilentDevice(STDOUT_FILENO) ? 0 : 1);
        }
        int status = -1;
        QCOMPARE(waitpid(child, &status, 0), child);
        QCOMPARE(status, 0);
    }
};

LUMAVERDINE_TEST(StandardStreamsTest)
#include "StandardStreamsTest.moc"
