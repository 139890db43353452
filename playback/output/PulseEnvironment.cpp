#include "playback/output/PulseEnvironment.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>

using namespace Qt::StringLiterals;

namespace {

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

} // namespace

const char *pulseCookie()
{
    // A cookie has to be read in full, or libpulse makes one; what is in it does not matter to a server that
    // knows its user, and another does not let one in without a cookie anyway.
    return qEnvironmentVariableIsSet("PULSE_COOKIE") || hasCookie() ? nullptr : "/dev/zero";
}

const char *pulseServer()
{
    for (const char *name : {"PULSE_SERVER", "PULSE_RUNTIME_PATH", "XDG_RUNTIME_DIR"}) {
        if (qEnvironmentVariableIsSet(name))
            return nullptr;
    }
    return hasRuntimeLink() ? nullptr : "unix:/run/pulse/native";
}
