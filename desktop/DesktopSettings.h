#pragma once

#include "desktop/WindowButton.h"

#include <QList>
#include <QMap>
#include <QObject>
#include <QString>
#include <QVariant>
#include <functional>

/// Where a window's standard buttons stand.
struct ButtonLayout {
    Qt::Edge side = Qt::RightEdge;
    /// From left to right; each once.
    QList<WindowButton::Kind> order{
        WindowButton::Kind::Minimize, WindowButton::Kind::Zoom, WindowButton::Kind::Close};

    /// From the form that desktops publish, such as "close,minimize:menu": the names before the colon belong to the
    /// left side. All buttons stand together on the side of "close", or on the right if it is not named; buttons
    /// that are not named stand towards the middle. Other names are ignored.
    [[nodiscard]] static ButtonLayout parse(const QString &published);

    bool operator==(const ButtonLayout &) const = default;
};

/// What the user has chosen for the windows of all programs.
struct DesktopSettings {
    ButtonLayout buttonLayout;
    bool wantsAnimations = true;

    /// Is called with the settings as soon as they are known, and after each change; never if none are published.
    using Follower = std::function<void(const DesktopSettings &)>;
};

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
