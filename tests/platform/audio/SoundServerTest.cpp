#include "tests/platform/audio/SoundServerTest.h"

#include <QDir>
#include <QMetaMethod>
#include <QTest>

using namespace Qt::StringLiterals;

int SoundServerTest::run(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    QStringList names = QCoreApplication::arguments().sliced(1);
    if (names.isEmpty())
        names = functions();
    bool allPass = !names.isEmpty();
    for (const PulseDaemon::Kind kind : {PulseDaemon::Kind::PulseAudio, PulseDaemon::Kind::PipeWire}) {
        m_kind = kind;
        qInfo("With %s:", kind == PulseDaemon::Kind::PulseAudio ? "PulseAudio" : "PipeWire");
        for (const QString &name : std::as_const(names))
            allPass = passes(name) && allPass;
    }
    return allPass ? 0 : 1;
}

void SoundServerTest::report(const char *name, double milliseconds)
{
    qInfo("%s: %.1f ms", name, milliseconds);
}

bool SoundServerTest::mayBeDropped(double frames) const
{
    constexpr double period = 512; // as PulseDaemon sets it
    return dropsPeriods() && frames > period / 2 && std::abs(std::remainder(frames, period)) < 1.5;
}

/// Names of all tests.
QStringList SoundServerTest::functions() const
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
/// period now and then, whoever plays: what fails has two more chances, and five where that is usual.
bool SoundServerTest::passes(const QString &function)
{
    const int attempts = dropsPeriods() ? 6 : 3;
    for (int attempt = 0; attempt < attempts; ++attempt) {
        if (QTest::qExec(this, {QCoreApplication::applicationFilePath(), function}) == 0)
            return true;
    }
    return false;
}

void SoundServerTest::stopAll()
{
    stopSound();
    m_capture.reset();
    m_daemon.reset();
}

void SoundServerTest::initTestCase()
{
    qputenv("HOME", m_home.path().toUtf8());
    for (const char *name : {"XDG_CONFIG_HOME", "XDG_RUNTIME_DIR", "PULSE_RUNTIME_PATH", "PULSE_COOKIE"})
        qunsetenv(name);
}

void SoundServerTest::cleanupTestCase()
{
    QVERIFY2(
        QDir(m_home.path()).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot),
        "something was created in the home folder");
}

void SoundServerTest::init()
{
    stopAll();
    m_daemon = std::make_unique<PulseDaemon>(m_kind);
    QVERIFY(m_daemon->start());
    m_capture = std::make_unique<PositionCapture>();
    QVERIFY(m_capture->start());
}

void SoundServerTest::cleanup()
{
    stopAll();
}
