#pragma once

#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <pulse/pulseaudio.h>

/// The process's one connection to the sound server, shared by all its clients.
///
/// 1. Made with the first client; its loop thread runs from the first connection until the process ends.
/// 2. context() connects, and connects anew if the former connection has failed.
/// 3. Clients that were added hear when the connection is ready or lost.
/// 4. When the process ends, clients whose sound is fading out get a moment to finish.
///
/// Any thread; everything but instance() and lock() with the connection locked: no callback of libpulse runs meanwhile.
/// In the loop's callbacks it always is.
class PulseConnection {
public:
    static PulseConnection &instance();
    PulseConnection(const PulseConnection &) = delete;
    PulseConnection &operator=(const PulseConnection &) = delete;

    /// Waits for the loop's callbacks; never called from one of them.
    void lock() { pa_threaded_mainloop_lock(m_loop); }
    void unlock() { pa_threaded_mainloop_unlock(m_loop); }

    [[nodiscard]] pa_mainloop_api *loop() const { return pa_threaded_mainloop_get_api(m_loop); }

    /// The connection, ready or on its way; null if it cannot even be tried. Never waits, never starts a
    /// server.
    pa_context *context();

    /// Is told the context whenever it is ready, and null whenever it is lost for good, with the connection locked.
    using Listener = std::function<void(pa_context *)>;

    /// Keeps `listener`, and what it owns, until remove(). `client` is only a name for it.
    void add(const void *client, Listener listener);
    void remove(const void *client);

private:
    PulseConnection();
    ~PulseConnection() = default;

    bool startLoop();
    void connect();
    void dropContext();
    void handleState();
    void waitForFades();

    pa_threaded_mainloop *m_loop = nullptr;
    bool m_isLooping = false;
    pa_context *m_context = nullptr;
    std::map<const void *, Listener> m_clients;

    std::mutex m_fadeMutex;
    std::condition_variable m_fadeEnded;
    bool m_hasClients = false; ///< guarded by m_fadeMutex
};
