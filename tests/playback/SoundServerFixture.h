#pragma once

#include "tests/playback/PositionCapture.h"

#include <QObject>
#include <QTemporaryDir>
#include <memory>

/// A test that hears what it plays, with PulseAudio, or with PipeWire if the environment's SOUND_SERVER says so, and with
/// a home folder of its own that has to stay empty.
class SoundServerFixture : public QObject {
    Q_OBJECT

public:
    /// Runs the functions that the program's arguments name, or all of them; returns the exit code of the process. A
    /// function that fails has a second chance, which is told; more than one of twenty that need it are a failure.
    int run();

protected:
    /// Prints a figure that was read off a capture.
    static void report(const char *name, double milliseconds);

    [[nodiscard]] PositionCapture &capture() { return *m_capture; }
    /// Whether the sound server drops a period now and then, whoever plays, as PipeWire does without real-time
    /// privileges.
    [[nodiscard]] bool dropsPeriods() const { return m_kind == PulseDaemon::Kind::PipeWire; }

    /// Whether `frames` are whole periods that the sound server may have dropped.
    [[nodiscard]] bool mayBeDropped(double frames) const;

    /// As PositionCapture::isContiguous(), but for two periods that the sound server may have dropped: whole ones that
    /// are silent or left out. A fault of the player's would not keep to the server's periods.
    [[nodiscard]] bool isContiguous(std::int64_t from, std::int64_t to, double start = 0);

    [[nodiscard]] QString filePath(const QString &name) const { return m_folder.filePath(name); }

    /// Destroys what plays, before the sound server goes.
    virtual void stopSound() = 0;

private:
    [[nodiscard]] const char *kindName() const;
    [[nodiscard]] QStringList functions() const;
    [[nodiscard]] bool passes(const QString &function);
    void stopAll();

    PulseDaemon::Kind m_kind = PulseDaemon::Kind::PulseAudio;
    int m_secondChances = 0; ///< functions that needed one
    QTemporaryDir m_folder;
    QTemporaryDir m_home;
    std::unique_ptr<PulseDaemon> m_daemon;
    std::unique_ptr<PositionCapture> m_capture;

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void init();
    void cleanup();
};
