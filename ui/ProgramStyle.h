#pragma once

#include <QHash>
#include <QPixmap>
#include <QProxyStyle>

class QStyleOptionMenuItem;

/// The style of every window on every desktop: the toolkit's plain one, with differences:
///
/// 1. Menus and tooltips are of the window's own material: its ground with a hairline around it and round corners. A
///    tooltip stands clear of the control that it names.
/// 2. The space bar, which toggles playback everywhere else, chooses a menu's entry.
/// 3. Nothing is animated if the user wants no animations.
/// 4. There is no picture for menus that do not fit into their bar. Every menu bar asks for it when it is made, and to
///    read it the toolkit loads each picture format that is installed, with the libraries behind it. Ours always fits.
class ProgramStyle : public QProxyStyle {
    Q_OBJECT

public:
    ProgramStyle();

    /// Whether the user wants animations; so it is by default.
    void setAnimated(bool isAnimated) { m_isAnimated = isAnimated; }

    /// Whether the window system shows what lies behind translucent parts of popups; by default not.
    void setComposited(bool isComposited) { m_isComposited = isComposited; }

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
    [[nodiscard]] int styleHint(StyleHint hint, const QStyleOption *option = nullptr,
        const QWidget *widget = nullptr, QStyleHintReturn *answer = nullptr) const override;
    [[nodiscard]] QIcon standardIcon(
        StandardPixmap symbol, const QStyleOption *option, const QWidget *widget) const override;

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    bool m_isAnimated = true;
    bool m_isComposited = false;

    /// What lies under each popup that shows if there is no compositor; it is seen around the corners.
    QHash<const QWidget *, QPixmap> m_under;
};

/// Where a tooltip of this size stands: under the middle of the control that it names, or above it if there is no room
/// under it; all within the room, in points.
[[nodiscard]] QPoint toolTipPlace(const QRect &control, const QSize &tip, const QRect &room);
