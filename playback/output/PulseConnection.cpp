#include "playback/output/PulseConnection.h"

#include "files/DetachedThread.h"
#include "files/ProgramId.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <chrono>
#include <cstdlib>

using namespace std::chrono_literals;
using namespace Qt::StringLiterals;

namespace {

// A fade out takes a few hundredths of a second; a server that hangs must not hold up the end of the process.
constexpr auto LongestWaitAtExit = 150ms;

bool hasCookie()
{
    const QString config = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
    return QFile::exists(config + u"/pulse/cookie"_s)
        || QFile::exists(QDir::homePath() + u"/.pulse-cookie"_s);
}

/// Where libpulse would keep a link to its sockets, below the home folder, for want of a runtime folder.
bool hasRuntimeLink()
{
    const QDir folder(QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) + u"/pulse"_s);
    return !folder.entryList({u"*-runtime"_s}, QDir::AllEntries | QDir::System).isEmpty();
}

/// The file that the cookie is to be read from; null for the one that libpulse finds. If there is none,
/// libpulse would create it in the user's home folder: then a stand-in.
const char *pulseCookie()
{
    // A cookie has to be read in full, or libpulse makes one; what is in it does not matter to a server that
    // knows its user, and another does not let one in without a cookie anyway.
    return qEnvironmentVariableIsSet("PULSE_COOKIE") || hasCookie() ? nullptr : "/dev/zero";
}

/// The server to connect to; null for the one that libpulse finds. Without a runtime folder libpulse would
/// make one below the home folder only to look for a server there: then only the system's own is asked for.
const char *pulseServer()
{
    for (const char *name : {"PULSE_SERVER", "PULSE_RUNTIME_PATH", "XDG_RUNTIME_DIR"}) {
        if (qEnvironmentVariableIsSet(name))
            return nullptr;
    }
    return hasRuntimeLink() ? nullptr : "unix:/run/pulse/native";
}

} // namespace

PulseConnection &PulseConnection::instance()
{
    // Never destroyed: a decoder thread may use it until the process is gone.
    static PulseConnection *const connection = [] {
        const auto wait = [] { instance().waitForFades(); };
        std::atexit(wait);
        std::at_quick_exit(wait);
        return new PulseConnection;
    }();
    return *connection;
}

PulseConnection::PulseConnection()
{
    m_loop = pa_threaded_mainloop_new();
    pa_threaded_mainloop_set_name(m_loop, "sound output");
}

pa_context *PulseConnection::context()
{
    if (m_context && !PA_CONTEXT_IS_GOOD(pa_context_get_state(m_context)))
        dropContext();
    if (!m_context && startLoop())
        connect();
    return m_context;
}

/// False if the system has no thread left, which libpulse would not notice.
bool PulseConnection::startLoop()
{
    if (!m_isLooping)
        m_isLooping = startDetachedThread([] {}) && pa_threaded_mainloop_start(m_loop) == 0;
    return m_isLooping;
}

void PulseConnection::add(const void *client, Listener listener)
{
    m_clients.emplace(client, std::move(listener));
    const std::lock_guard lock(m_fadeMutex);
    m_hasClients = true;
}

void PulseConnection::remove(const void *client)
{
    m_clients.erase(client);
    const std::lock_guard lock(m_fadeMutex);
    m_hasClients = !m_clients.empty();
    m_fadeEnded.notify_all();
}

void PulseConnection::connect()
{
    pa_proplist *properties = pa_proplist_new();
    pa_proplist_sets(properties, PA_PROP_APPLICATION_NAME, "Lumaverdine");
    pa_proplist_sets(properties, PA_PROP_APPLICATION_ID, ProgramId);
    pa_proplist_sets(properties, PA_PROP_APPLICATION_ICON_NAME, ProgramId);
    m_context = pa_context_new_with_proplist(loop(), nullptr, properties);
    pa_proplist_free(properties);
    if (!m_context)
        return;
    const auto handle = [](pa_context *, void *self) { static_cast<PulseConnection *>(self)->handleState(); };
    pa_context_set_state_callback(m_context, handle, this);
    if (const char *cookie = pulseCookie())
        pa_context_load_cookie_from_file(m_context, cookie);
    if (pa_context_connect(m_context, pulseServer(), PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0)
        dropContext();
}

void PulseConnection::dropContext()
{
    pa_context_set_state_callback(m_context, nullptr, nullptr);
    pa_context_unref(m_context);
    m_context = nullptr;
}

void PulseConnection::handleState()
{
    const pa_context_state_t state = pa_context_get_state(m_context);
    if (state != PA_CONTEXT_READY && PA_CONTEXT_IS_GOOD(state))
        return;
    const auto clients = m_clients; // some of which remove themselves
    for (const auto &[client, listener] : clients)
        listener(state == PA_CONTEXT_READY ? m_context : nullptr);
}

void PulseConnection::waitForFades()
{
    {
        std::unique_lock lock(m_fadeMutex);
        m_fadeEnded.wait_for(lock, LongestWaitAtExit, [this] { return !m_hasClients; });
    }
    pa_threaded_mainloop_stop(m_loop);
}
