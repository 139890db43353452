#include "tests/playback/SoundServerFixture.h"

#include <QDir>
#include <QFile>
#include <QMetaMethod>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype RunsPerChance = 20; // of functions, of which one may need a second chance

constexpr int MostDrops = 2; // of a server, in one piece of sound

/// Tells the file that the environment names, for what judges all programs of a run together.
void noteInLog(bool isGood)
{
    QFile log(qEnvironmentVariable("SOUND_TEST_LOG"));
    if (log.open(QIODevice::Append))
        log.write(isGood ? "good\n" : "again\n");
}

} // namespace

int SoundServerFixture::run()
{
    QStringList names = QCoreApplication::arguments().sliced(1);
    if (names.isEmpty())
        names = functions();
    if (qEnvironmentVariable("SOUND_SERVER") == u"PipeWire"_s)
        m_kind = PulseDaemon::Kind::PipeWire;
    qInfo("With %s:", kindName());
    bool allPass = !names.isEmpty();
    for (const QString &name : std::as_const(names))
        allPass = passes(name) && allPass;
    const qsizetype runs = names.size();
    if (m_secondChances > 0)
        qWarning(
            "%d of %lld functions needed a second chance.", m_secondChances, static_cast<long long>(runs));
    return allPass && m_secondChances * RunsPerChance <= std::max(runs, RunsPerChance) ? 0 : 1;
}

void SoundServerFixture::report(const char *name, double milliseconds)
{
    qInfo("%s: %.1f ms", name, milliseconds);
}

bool SoundServerFixture::mayBeDropped(double frames) const
{
    constexpr double period = 512; // as PulseDaemon sets it
    return dropsPeriods() && frames > period / 2 && std::abs(std::remainder(frames, period)) < 1.5;
}

bool SoundServerFixture::isContiguous(std::int64_t from, std::int64_t to, double start)
{
    const auto isDropped = [this](double frames) { return std::abs(frames) < 1.5 || mayBeDropped(frames); };
    for (int drops = 0; drops <= MostDrops; ++drops) {
        const std::int64_t end = capture().contiguousEnd(from, to, start);
        if (end >= to)
            return true;
        const std::int64_t next = capture().firstFrame(end, true);
        const double left = (capture().place(next) - start) * Capture::rate - double(end - from);
        if (!dropsPeriods() || next >= to || !isDropped(double(next - end)) || !isDropped(left))
            return false;
        from = next;
        start = capture().place(next);
    }
    return false;
}

const char *SoundServerFixture::kindName() const
{
    return m_kind == PulseDaemon::Kind::PulseAudio ? "PulseAudio" : "PipeWire";
}

/// Names of all tests.
QStringList SoundServerFixture::functions() const
{
    QStringList names;
    for (int index = metaObject()->methodOffset(); index < metaObject()->methodCount(); ++index) {
        const QString name = QString::fromLatin1(metaObject()->method(index).name());
        if (!name.endsWith(u"_data"_s))
            names.append(name);
    }
    return names;
}

/// Runs one function. On a machine that is busy with other things, a sound server or the capture drops a
/// period now and then, whoever plays: what fails is told, and has a second chance.
bool SoundServerFixture::passes(const QString &function)
{
    const auto runs = [&] {
        return QTest::qExec(this, {QCoreApplication::applicationFilePath(), function}) == 0;
    };
    const bool isFirstGood = runs();
    if (!isFirstGood) {
        ++m_secondChances;
        qWarning("A second chance for %s with %s.", qPrintable(function), kindName());
    }
    noteInLog(isFirstGood);
    return isFirstGood || runs();
}

void SoundServerFixture::stopAll()
{
    stopSound();
    m_capture.reset();
    m_daemon.reset();
}

void SoundServerFixture::initTestCase()
{
    qputenv("HOME", m_home.path().toUtf8());
    for (const char *name : {"XDG_CONFIG_HOME", "XDG_RUNTIME_DIR", "PULSE_RUNTIME_PATH", "PULSE_COOKIE"})
        qunsetenv(name);
}

void SoundServerFixture::cleanupTestCase()
{
    QVERIFY2(
        QDir(m_home.path()).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot),
        "something was created in the home folder");
}

void SoundServerFixture::init()
{
    stopAll();
    m_daemon = std::make_unique<PulseDaemon>(m_kind);
    QVERIFY(m_daemon->start());
    m_capture = std::make_unique<PositionCapture>();
    QVERIFY(m_capture->start());
}

void SoundServerFixture::cleanup()
{
    stopAll();
}
