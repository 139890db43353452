#pragma once

#include <condition_variable>
#include <memory>
#include <mutex>
#include <pulse/pulseaudio.h>
#include <vector>

class PulseStream;

/// The process's one connection to the sound server, shared by all streams.
///
/// 1. Made with the first stream; its loop thread runs from the first connection until the process ends.
/// 2. context() connects, and connects anew where the former connection has failed.
/// 3. Streams that were added hear when the connection is ready or lost.
/// 4. When the process ends, streams that are fading out get a moment to do so.
///
/// Any thread; everything but instance() with a PulseLock held, or from the loop's callbacks, where it always
/// is.
class PulseConnection {
public:
    static PulseConnection &instance();
    PulseConnection(const PulseConnection &) = delete;
    PulseConnection &operator=(const PulseConnection &) = delete;

    [[nodiscard]] pa_threaded_mainloop *loop() const { return m_loop; }

    /// The connection, ready or on its way; null where it cannot even be tried. Never waits, never starts a
    /// server.
    pa_context *context();

    /// Keeps `stream` alive until remove().
    void add(std::shared_ptr<PulseStream> stream);
    void remove(const PulseStream &stream);

private:
    struct Farewell;

    PulseConnection();
    ~PulseConnection() = default;

    bool startLoop();
    void connect();
    void disconnect();
    void handleState();
    void waitForFades();

    pa_threaded_mainloop *m_loop = nullptr;
    bool m_isLooping = false;
    pa_context *m_context = nullptr;
    std::vector<std::shared_ptr<PulseStream>> m_streams;

    std::mutex m_fadeMutex;
    std::condition_variable m_fadeEnded;
    bool m_hasStreams = false; ///< guarded by m_fadeMutex
};

/// Holds the lock of the connection's loop: no callback of libpulse runs meanwhile.
class PulseLock {
public:
    PulseLock()
        : m_loop(PulseConnection::instance().loop())
    {
        pa_threaded_mainloop_lock(m_loop);
    }
    ~PulseLock() { pa_threaded_mainloop_unlock(m_loop); }
    PulseLock(const PulseLock &) = delete;
    PulseLock &operator=(const PulseLock &) = delete;

private:
    pa_threaded_mainloop *m_loop;
};
