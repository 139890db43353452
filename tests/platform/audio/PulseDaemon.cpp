#include "tests/platform/audio/PulseDaemon.h"

#include <QElapsedTimer>
#include <QTest>
#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstring>

using namespace Qt::StringLiterals;

namespace {

constexpr int patience = 10'000; // milliseconds

/// The sound tools create a cookie in the home folder, which must not pass for one that the player creates.
QProcessEnvironment toolEnvironment()
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"PULSE_COOKIE"_s, u"/dev/zero"_s);
    return environment;
}

std::optional<QString> runPactl(const QStringList &words)
{
    QProcess pactl;
    pactl.setProcessEnvironment(toolEnvironment());
    pactl.start(u"pactl"_s, words);
    const bool isDone = pactl.waitForFinished(patience) && pactl.exitStatus() == QProcess::NormalExit
        && pactl.exitCode() == 0;
    return isDone ? std::optional(QString::fromUtf8(pactl.readAllStandardOutput()).trimmed()) : std::nullopt;
}

bool serverAnswers()
{
    return runPactl({u"info"_s}).has_value();
}

} // namespace

PulseDaemon::PulseDaemon()
{
    qputenv("PULSE_SERVER", "unix:" + socket().toUtf8());
}

PulseDaemon::~PulseDaemon()
{
    kill();
    qunsetenv("PULSE_SERVER");
}

bool PulseDaemon::start()
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const QString &name :
        {u"HOME"_s, u"XDG_RUNTIME_DIR"_s, u"PULSE_RUNTIME_PATH"_s, u"PULSE_STATE_PATH"_s})
        environment.insert(name, m_folder.path());
    environment.remove(u"PULSE_SERVER"_s);
    m_process.setProcessEnvironment(environment);
    m_process.setStandardErrorFile(m_folder.filePath(u"log"_s));
    // Without norewinds an idle sink renders two seconds ahead.
    m_process.start(u"pulseaudio"_s,
        {u"-n"_s, u"--daemonize=no"_s, u"--exit-idle-time=-1"_s, u"--use-pid-file=no"_s, u"--disable-shm=1"_s,
            u"--realtime=no"_s, u"--high-priority=no"_s, u"--log-target=stderr"_s, u"-L"_s,
            u"module-native-protocol-unix socket=%1 auth-anonymous=1"_s.arg(socket()), u"-L"_s,
            u"module-null-sink sink_name=test rate=48000 channels=2 format=float32le norewinds=1"_s});
    return m_process.waitForStarted(patience) && QTest::qWaitFor(serverAnswers, patience);
}

void PulseDaemon::kill()
{
    if (m_process.state() == QProcess::NotRunning)
        return;
    m_process.kill();
    m_process.waitForFinished(patience);
}

void PulseDaemon::suspend(bool isSuspended)
{
    ::kill(pid_t(m_process.processId()), isSuspended ? SIGSTOP : SIGCONT);
}

std::optional<QString> PulseDaemon::order(const QStringList &words)
{
    return runPactl(words);
}

Capture::~Capture()
{
    m_process.kill();
    m_process.waitForFinished(patience);
}

bool Capture::start(const QString &sink)
{
    m_process.setProcessEnvironment(toolEnvironment());
    m_process.start(u"parec"_s,
        {u"-d"_s, sink + u".monitor"_s, u"--format=float32le"_s, u"--rate=48000"_s, u"--channels=2"_s,
            u"--latency-msec=10"_s, u"--raw"_s});
    return m_process.waitForStarted(patience) && record(0.05);
}

bool Capture::record(double seconds)
{
    const std::int64_t wanted = frames() + std::int64_t(seconds * rate);
    QElapsedTimer timer;
    timer.start();
    while (frames() < wanted && timer.elapsed() < patience + std::int64_t(seconds * 1000)) {
        // The event loop runs, for those whose calls come through it.
        QCoreApplication::processEvents();
        m_process.waitForReadyRead(5);
        take();
    }
    return frames() >= wanted;
}

double Capture::now()
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

void Capture::take()
{
    const QByteArray arrived = m_process.readAllStandardOutput();
    if (arrived.isEmpty())
        return;
    m_bytes += arrived;
    m_start = std::min(m_start, now() - double(frames()) / rate);
}

float Capture::sample(std::int64_t index) const
{
    float value = 0;
    std::memcpy(&value, m_bytes.constData() + index * qsizetype(sizeof value), sizeof value);
    return value;
}
