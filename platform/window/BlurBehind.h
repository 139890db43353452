#pragma once

#include <QAbstractNativeEventFilter>
#include <QRegion>
#include <cstdint>
#include <functional>

class QWindow;

/// The blurred view of what lies behind a window, made by the compositor where it offers one.
///
/// It does on X11 under KWin, which puts a property on the root window for as long as it composes with blur, and
/// reads one of the same name from each window. Elsewhere nothing is offered. Main thread only.
class BlurBehind final : public QAbstractNativeEventFilter {
public:
    /// Calls `changed` whenever it begins or ends to be offered.
    explicit BlurBehind(std::function<void()> changed);
    ~BlurBehind() override;

    [[nodiscard]] bool isOffered() const { return m_isOffered; }

    /// Blurs what lies behind this region of the window, in points.
    void apply(QWindow &window, const QRegion &region) const;

    bool nativeEventFilter(const QByteArray &type, void *message, qintptr *result) override;

private:
    std::function<void()> m_changed;
    std::uint32_t m_property = 0; ///< the property's name on the X server; 0 where nobody has ever used it
    bool m_isOffered = false;
};
