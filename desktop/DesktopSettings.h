#pragma once

#include "desktop/WindowButton.h"

#include <QList>
#include <QString>
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
