#include "tests/playback/PulseDaemon.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QTest>
#include <QTimer>
#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstring>
#include <sched.h>
#include <unistd.h>

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
    QProcessEnvironment environment = toolEnvironment();
    environment.insert(u"LC_ALL"_s, u"C.UTF-8"_s);
    pactl.setProcessEnvironment(environment);
    pactl.start(u"pactl"_s, words);
    const bool isDone = pactl.waitForFinished(patience) && pactl.exitStatus() == QProcess::NormalExit
        && pactl.exitCode() == 0;
    return isDone ? std::optional(QString::fromUtf8(pactl.readAllStandardOutput()).trimmed()) : std::nullopt;
}

/// In the server's first process.
void beAServer()
{
    // A group of their own: one signal reaches every process of the server.
    setpgid(0, 0);
    // A desktop lets its sound server go before all others. Where that is not allowed, a busy machine is
    // heard.
    const sched_param lowest{.sched_priority = 1};
    sched_setscheduler(0, SCHED_RR, &lowest);
}

} // namespace

PulseDaemon::PulseDaemon(Kind kind)
    : m_kind(kind)
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
    // PipeWire's session manager does not always find its way at the first attempt.
    for (int attempt = 0; attempt < 3; ++attempt) {
        if (launch())
            return true;
        kill();
    }
    return false;
}

bool PulseDaemon::launch()
{
    QProcessEnvironment environment = toolEnvironment();
    for (const QString &name : {u"HOME"_s, u"XDG_CONFIG_HOME"_s, u"XDG_STATE_HOME"_s, u"XDG_RUNTIME_DIR"_s,
             u"PULSE_RUNTIME_PATH"_s, u"PULSE_STATE_PATH"_s})
        environment.insert(name, m_folder.path());
    environment.remove(u"PULSE_SERVER"_s);
    m_process.setProcessEnvironment(environment);
    m_process.setStandardErrorFile(m_folder.filePath(u"log"_s));
    m_process.setChildProcessModifier(beAServer);
    if (m_kind == Kind::PulseAudio)
        startPulseAudio();
    else if (!startPipeWire())
        return false;
    if (m_process.waitForStarted(patience) && QTest::qWaitFor(isReady, patience))
        return true;
    QFile log(m_folder.filePath(u"log"_s));
    if (log.open(QIODevice::ReadOnly))
        qWarning("%s", log.readAll().constData());
    return false;
}

void PulseDaemon::kill()
{
    if (m_process.state() == QProcess::NotRunning)
        return;
    signalAll(SIGKILL);
    m_process.waitForFinished(patience);
}

void PulseDaemon::suspend(bool isSuspended)
{
    signalAll(isSuspended ? SIGSTOP : SIGCONT);
}

bool PulseDaemon::isReady()
{
    return runPactl({u"get-default-sink"_s}) == u"test"_s;
}

void PulseDaemon::startPulseAudio()
{
    // Without norewinds an idle sink renders two seconds ahead.
    m_process.start(u"pulseaudio"_s,
        {u"-n"_s, u"--daemonize=no"_s, u"--exit-idle-time=-1"_s, u"--use-pid-file=no"_s, u"--disable-shm=1"_s,
            u"--realtime=no"_s, u"--high-priority=no"_s, u"--log-target=stderr"_s, u"-L"_s,
            u"module-native-protocol-unix socket=%1 auth-anonymous=1"_s.arg(socket()), u"-L"_s,
            u"module-null-sink sink_name=test rate=48000 channels=2 format=float32le norewinds=1"_s});
}

bool PulseDaemon::startPipeWire()
{
    const QString folder = m_folder.filePath(u"pipewire/pipewire.conf.d"_s);
    QFile configuration(folder + u"/null-sink.conf"_s);
    if (!QDir().mkpath(folder) || !configuration.open(QIODevice::WriteOnly))
        return false;
    // Periods of 11 ms, which a busy machine keeps also without real-time priority.
    configuration.write(R"(context.properties = { default.clock.min-quantum = 512 }
        context.objects = [ { factory = adapter args = {
        factory.name = support.null-audio-sink  node.name = test  media.class = Audio/Sink
        object.linger = true  audio.position = [ FL FR ]  audio.rate = 48000
    } } ])");
    QFile::remove(m_folder.filePath(u"pipewire-0"_s));
    m_process.start(u"dbus-run-session"_s,
        {u"--"_s, u"sh"_s, u"-c"_s,
            u"pipewire & until [ -S \"$XDG_RUNTIME_DIR/pipewire-0\" ]; do sleep 0.01; done; pipewire-pulse & exec wireplumber"_s});
    return true;
}

void PulseDaemon::signalAll(int signal) const
{
    if (m_process.processId() > 0)
        ::kill(-pid_t(m_process.processId()), signal);
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
    const QDeadlineTimer deadline(patience + std::int64_t(seconds * 1000));
    QTimer wakeup; // looks at the deadline if nothing arrives
    wakeup.start(100);
    while (frames() < wanted && !deadline.hasExpired()) {
        // The event loop runs, for those whose calls come through it, and does not wait for the capture alone.
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
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
