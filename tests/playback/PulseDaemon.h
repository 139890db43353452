#pragma once

#include <QProcess>
#include <QTemporaryDir>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

/// A sound server of the test's own, with a null sink named "test" and no card, whose sound can be captured.
/// While it lives, PULSE_SERVER of this process names it.
class PulseDaemon {
public:
    enum class Kind { PulseAudio, PipeWire };

    explicit PulseDaemon(Kind kind = Kind::PulseAudio);
    ~PulseDaemon();

    /// Whether the server answers; false also where none is installed.
    bool start();

    /// Ends it at once, as a crash would.
    void kill();

    /// Stops and continues the server's processes.
    void suspend(bool isSuspended);

    /// Gives the server an order in the words of pactl; answers what that prints, nothing where it fails.
    [[nodiscard]] std::optional<QString> order(const QStringList &words);

    [[nodiscard]] QString socket() const { return m_folder.filePath(QStringLiteral("native")); }

private:
    [[nodiscard]] static bool isReady(); ///< whether the null sink is there and streams go to it
    bool launch();
    void startPulseAudio();
    bool startPipeWire();
    void signalAll(int signal) const;

    const Kind m_kind;
    QTemporaryDir m_folder;
    QProcess m_process;
};

/// What is heard on the null sink: 32-bit float stereo at 48 kHz.
class Capture {
public:
    static constexpr int rate = 48000;

    Capture() = default;
    ~Capture();

    /// Whether sound, be it silence, has begun to arrive from that null sink.
    bool start(const QString &sink = QStringLiteral("test"));

    /// Waits until `seconds` more have been captured; false where they do not come in time.
    bool record(double seconds);

    [[nodiscard]] std::int64_t frames() const { return m_bytes.size() / 8; }
    [[nodiscard]] float left(std::int64_t frame) const { return sample(frame * 2); }
    [[nodiscard]] float right(std::int64_t frame) const { return sample(frame * 2 + 1); }

    /// When a frame was heard, in seconds of now().
    [[nodiscard]] double timeOf(std::int64_t frame) const { return m_start + double(frame) / rate; }
    [[nodiscard]] std::int64_t frameAt(double time) const { return std::int64_t((time - m_start) * rate); }

    /// Seconds of the monotonic clock.
    [[nodiscard]] static double now();

private:
    void take();
    [[nodiscard]] float sample(std::int64_t index) const;

    QProcess m_process;
    QByteArray m_bytes;
    double m_start = 1e300; ///< least over all arrivals
};
