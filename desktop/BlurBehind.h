#pragma once

#include <QAbstractNativeEventFilter>
#include <QRegion>
#include <cstdint>
#include <functional>
#include <vector>

class QWindow;

/// The blurred view of what lies behind a window, made by the compositor if it offers one.
///
/// It does on X11 under KWin, which puts a property on the root window for as long as it composes with blur, and
/// reads one of the same name from each window. Elsewhere nothing is offered. Main thread only.
class BlurBehind final : public QAbstractNativeEventFilter {
public:
    /// If it is offered at the start, calls `changed` whenever that ends or begins anew.
    explicit BlurBehind(std::function<void()> changed);

    [[nodiscard]] bool isOffered() const { return m_isOffered; }

    /// Blurs what lies behind this region of the window, in points.
    void apply(QWindow &window, const QRegion &region) const;

    /// Each rectangle's x, y, width and height in pixels, at this many of them a point.
    [[nodiscard]] static std::vector<std::uint32_t> rectangles(const QRegion &region, double scale);

    bool nativeEventFilter(const QByteArray &type, void *message, qintptr *result) override;

private:
    std::function<void()> m_changed;
    std::uint32_t m_property = 0; ///< the property's name on the X server; 0 if nobody has ever used it
    bool m_isOffered = false;
};
