#pragma once

#include "desktop/DesktopSettings.h"
#include "desktop/XServer.h"

#include <QObject>
#include <QTimer>
#include <chrono>
#include <functional>
#include <optional>

class QDBusVariant;

/// Asks the desktop for the user's settings and follows them.
///
/// They come from the desktop's portal on the session bus, which may be started for it; what it leaves unnamed comes
/// from the X server, if there is one. On Plasma they come from its own file until the portal answers. Nothing ever
/// waits for the portal: one that answers late, or appears or comes back while the program runs, is followed then. Main
/// thread only.
class SettingsWatcher : public QObject {
    Q_OBJECT

public:
    using Follower = std::function<void(const DesktopSettings &)>;

    /// Sends the question.
    SettingsWatcher();

    /// Calls `follower` with what is known as soon as the portal has answered or failed, or after `timeout`,
    /// whichever is first; then after each change.
    void follow(Follower follower, std::chrono::milliseconds timeout);

private:
    void ask();
    void tell();
    void tellChange();
    Q_SLOT void change(const QString &group, const QString &key, const QDBusVariant &value);

    PublishedSettings m_published;
    Follower m_follower;
    std::optional<DesktopSettings> m_told; ///< to the follower, last
    QTimer m_timeout{this};
    XSettings m_xSettings;
};
