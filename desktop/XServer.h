#pragma once

#include "desktop/DesktopSettings.h"

#include <QAbstractNativeEventFilter>
#include <QVariant>
#include <cstdint>

/// Whether the window system shows what lies behind the translucent parts of a window; without that, they are black.
/// It does on Wayland, and on X11 while a compositor runs. Main thread only.
[[nodiscard]] bool isComposited();

/// The desktop's settings on X11, published by a program of the desktop as a property of one of its windows.
///
/// The format is that of https://specifications.freedesktop.org/xsettings-spec. Does nothing if the display is no X
/// server. Main thread only.
class XSettings final : public QAbstractNativeEventFilter {
public:
    /// If there are settings already, `follower` is called at once.
    explicit XSettings(DesktopSettings::Follower follower);

    /// The numbers and texts of a property by their names, up to the first bytes that make no sense.
    [[nodiscard]] static QVariantHash parse(const QByteArray &property);

    /// What of such numbers and texts concerns a window; the default for each that is missing.
    [[nodiscard]] static DesktopSettings settingsOf(const QVariantHash &published);

    bool nativeEventFilter(const QByteArray &type, void *message, qintptr *result) override;

private:
    void read();

    DesktopSettings::Follower m_follower;
    std::uint32_t m_property = 0; ///< that has the settings
    std::uint32_t m_arrival = 0; ///< the message that a window with settings has come
};
