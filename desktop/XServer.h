#pragma once

#include <QAbstractNativeEventFilter>
#include <QObject>
#include <QVariant>
#include <cstdint>
#include <functional>

/// Follows whether the window system shows what lies behind the translucent parts of a window; without that, they are
/// black. It does on Wayland, and on X11 while a compositor runs and is not suspended. Main thread only.
class Compositing final : public QObject, public QAbstractNativeEventFilter {
    Q_OBJECT

public:
    using Follower = std::function<void(bool isComposited)>;

    /// Calls `follower` at once, and each time that a compositor comes or goes.
    explicit Compositing(Follower follower);

    bool nativeEventFilter(const QByteArray &type, void *message, qintptr *result) override;

private:
    Q_SLOT void follow(bool isComposited);

    Follower m_follower;
    std::uint32_t m_selection = 0; ///< that a compositor owns
};

/// The desktop's settings on X11, published by a program of the desktop as a property of one of its windows.
///
/// The format is that of https://specifications.freedesktop.org/xsettings-spec. Does nothing if the display is no X
/// server. Main thread only.
class XSettings final : public QAbstractNativeEventFilter {
public:
    /// Is called with the numbers and texts by their names.
    using Follower = std::function<void(const QVariantMap &)>;

    /// If there are settings already, `follower` is called at once; then after each change.
    explicit XSettings(Follower follower);

    /// The numbers and texts of a property by their names, up to the first bytes that make no sense.
    [[nodiscard]] static QVariantMap parse(const QByteArray &property);

    bool nativeEventFilter(const QByteArray &type, void *message, qintptr *result) override;

private:
    void read();

    Follower m_follower;
    std::uint32_t m_property = 0; ///< that has the settings
    std::uint32_t m_arrival = 0; ///< the message that a window with settings has come
};
