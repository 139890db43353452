#pragma once

#include "desktop/DesktopSettings.h"

#include <QObject>

/// The desktop's settings on Wayland, from the desktop portal on the session bus.
///
/// Does nothing on other displays. Never waits for the portal and never starts it: one that starts later is asked
/// then. The interface is org.freedesktop.portal.Settings of https://flatpak.github.io/xdg-desktop-portal. Main
/// thread only.
class SettingsPortal : public QObject {
    Q_OBJECT

public:
    explicit SettingsPortal(DesktopSettings::Follower follower);

private:
    Q_SLOT void ask();

    DesktopSettings::Follower m_follower;
};
