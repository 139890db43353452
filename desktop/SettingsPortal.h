#pragma once

#include "desktop/DesktopSettings.h"

#include <QMap>
#include <QObject>
#include <QVariant>

/// The desktop's settings on Wayland, from the desktop portal on the session bus.
///
/// Does nothing on other displays. Never waits for the portal and never starts it: one that starts later is asked
/// then. The interface is org.freedesktop.portal.Settings of https://flatpak.github.io/xdg-desktop-portal. Main
/// thread only.
class SettingsPortal : public QObject {
    Q_OBJECT

public:
    using Groups = QMap<QString, QVariantMap>;

    explicit SettingsPortal(DesktopSettings::Follower follower);

    /// What of the portal's settings concerns a window; the default for each that is missing.
    [[nodiscard]] static DesktopSettings settingsOf(const Groups &published);

private:
    Q_SLOT void ask();

    DesktopSettings::Follower m_follower;
};
