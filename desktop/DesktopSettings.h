#pragma once

#include "desktop/WindowButton.h"

#include <QColor>
#include <QList>
#include <QMap>
#include <QString>
#include <QVariant>

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

/// A font that the user has chosen.
struct FontChoice {
    QString family; ///< empty if none is chosen
    double points = 0; ///< from 4 to 40 if one is

    /// From the forms that desktops publish, "Noto Sans Bold 11" or "Noto Sans,11,-1,5,…"; none if it is neither.
    [[nodiscard]] static FontChoice parse(const QString &published);

    bool operator==(const FontChoice &) const = default;
};

/// What the user has chosen for the windows of all programs; by default, nothing.
struct DesktopSettings {
    enum class Scheme { None, Light, Dark };

    ButtonLayout buttonLayout{};
    bool wantsAnimations = true;
    Scheme scheme = Scheme::None;
    QColor accent{}; ///< invalid if none is chosen
    bool wantsHighContrast = false;
    FontChoice font{};
    FontChoice fixedFont{};
    double textScale = 1; ///< from 0.5 to 3

    bool operator==(const DesktopSettings &) const = default;
};

/// Values as a desktop publishes them, by group and key. Those of an X server are one group, with an empty name.
using PublishedSettings = QMap<QString, QVariantMap>;

/// What of the published values concerns a window. A value that makes no sense is as none.
[[nodiscard]] DesktopSettings desktopSettings(const PublishedSettings &published);

/// The names of all groups of which something is read, that of an X server's apart.
[[nodiscard]] QStringList desktopSettingsGroups();
