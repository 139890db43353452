#pragma once

#include <QHash>
#include <QPixmap>
#include <QProxyStyle>

class QStyleOptionMenuItem;

/// The desktop's style, but menus and tooltips are of the window's own material: its ground with a hairline around it
/// and round corners. A tooltip stands clear of the control that it names.
class PopupStyle : public QProxyStyle {
    Q_OBJECT

public:
    using QProxyStyle::polish;
    void polish(QWidget *widget) override;

    void drawPrimitive(PrimitiveElement element, const QStyleOption *option, QPainter *painter,
        const QWidget *widget) const override;
    void drawControl(ControlElement element, const QStyleOption *option, QPainter *painter,
        const QWidget *widget) const override;
    [[nodiscard]] QSize sizeFromContents(ContentsType type, const QStyleOption *option, const QSize &size,
        const QWidget *widget) const override;
    [[nodiscard]] int pixelMetric(
        PixelMetric metric, const QStyleOption *option, const QWidget *widget) const override;
    [[nodiscard]] int styleHint(StyleHint hint, const QStyleOption *option, const QWidget *widget,
        QStyleHintReturn *answer) const override;

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    /// What lies under each popup that shows and cannot be translucent; it is seen around the corners.
    QHash<const QWidget *, QPixmap> m_under;
};

/// Where a tooltip of this size stands: under the middle of the control that it names, or above it if there is no room
/// under it; all within the room, in points.
[[nodiscard]] QPoint toolTipPlace(const QRect &control, const QSize &tip, const QRect &room);
