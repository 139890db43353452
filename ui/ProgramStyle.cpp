#include "ui/ProgramStyle.h"

#include "ui/drawing/Colors.h"
#include "ui/drawing/ControlState.h"
#include "ui/drawing/Shapes.h"

#include <QApplication>
#include <QMenu>
#include <QPainter>
#include <QScreen>
#include <QStyleOptionMenuItem>
#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr double MenuRadius = 8;
constexpr double EntryRadius = 5;
constexpr double TipRadius = 6;
constexpr double BorderOpacity = 0.18;
constexpr int MenuPadding = 5;
constexpr int TipPadding = 5;
constexpr int TipGap = 6; // between a tooltip and what it names
constexpr QSize EntryPadding(10, 5);
constexpr int ShortcutGap = 28; // between an entry and its keys
constexpr int MarkWidth = 20; // before the entries of a menu in which some can be checked
constexpr int ArrowWidth = 16; // behind an entry that leads to another menu
constexpr int SeparatorHeight = 9;

bool isMenu(const QWidget *widget)
{
    return qobject_cast<const QMenu *>(widget);
}

bool isToolTip(const QWidget *widget)
{
    return widget && widget->inherits("QTipLabel");
}

/// What the window shows where a popup of it is going to lie; outside the window, its ground.
QPixmap pictureUnder(const QWidget &popup)
{
    QPixmap picture(popup.size() * popup.devicePixelRatio());
    picture.setDevicePixelRatio(popup.devicePixelRatio());
    picture.fill(windowBackgroundColor(popup.palette()));
    if (const QWidget *parent = popup.parentWidget()) {
        QWidget &window = *parent->window();
        const QRect area(window.mapFromGlobal(popup.pos()), popup.size());
        const QRect part = area & window.rect();
        if (!part.isEmpty())
            window.render(&picture, part.topLeft() - area.topLeft(), part);
    }
    return picture;
}

void drawPanel(QPainter &painter, const QRect &area, const QPalette &palette, double radius)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF whole = onWholePixels(painter, area);
    painter.fillPath(smoothCorners(whole, radius), windowBackgroundColor(palette));
    drawHairline(painter, whole, radius, primaryColor(palette, BorderOpacity));
    painter.restore();
}

void drawSeparator(QPainter &painter, const QRect &area, const QPalette &palette)
{
    const QRect line(
        area.left() + EntryPadding.width(), area.center().y(), area.width() - 2 * EntryPadding.width(), 1);
    drawLineAcross(painter, line, primaryColor(palette, BorderOpacity));
}

/// Draws a line through points that are given from the middle of `area`.
void drawStroke(QPainter &painter, const QRectF &area, const QPolygonF &points)
{
    painter.setPen(QPen(painter.pen().color(), 1.5, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPolyline(points.translated(area.center()));
}

QColor entryColor(const QStyleOptionMenuItem &entry, bool isChosen)
{
    if (!entry.state.testFlag(QStyle::State_Enabled))
        return primaryColor(entry.palette, DisabledOpacity);
    return isChosen ? onAccentColor(entry.palette) : primaryColor(entry.palette);
}

void drawEntry(QPainter &painter, const QStyleOptionMenuItem &entry)
{
    const bool isChosen =
        entry.state.testFlag(QStyle::State_Selected) && entry.state.testFlag(QStyle::State_Enabled);
    if (isChosen)
        painter.fillPath(smoothCorners(entry.rect, EntryRadius), accentColor(entry.palette));
    painter.setPen(entryColor(entry, isChosen));
    painter.setFont(entry.font);
    QRect content = entry.rect.adjusted(EntryPadding.width(), 0, -EntryPadding.width(), 0);
    const QStringList texts = entry.text.split(u'\t');
    if (texts.size() > 1)
        painter.drawText(content, Qt::AlignRight | Qt::AlignVCenter | Qt::TextSingleLine, texts.at(1));
    if (entry.menuHasCheckableItems)
        content.setLeft(content.left() + MarkWidth);
    painter.drawText(
        content, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine | Qt::TextHideMnemonic, texts.first());
    const QRectF mark(content.left() - MarkWidth, content.top(), MarkWidth / 2.0, content.height());
    if (entry.checkType != QStyleOptionMenuItem::NotCheckable && entry.checked)
        drawStroke(painter, mark, {QPointF(-4, 0), QPointF(-1, 3), QPointF(4, -3.5)});
    const QRectF arrow(content.right() - ArrowWidth / 2.0, content.top(), ArrowWidth / 2.0, content.height());
    if (entry.menuItemType == QStyleOptionMenuItem::SubMenu)
        drawStroke(painter, arrow, {QPointF(-1.5, -3), QPointF(1.5, 0), QPointF(-1.5, 3)});
}

QSize entrySize(const QStyleOptionMenuItem &entry, const QSize &text)
{
    if (entry.menuItemType == QStyleOptionMenuItem::Separator)
        return {2 * EntryPadding.width(), SeparatorHeight};
    QSize size = text + 2 * EntryPadding;
    if (entry.menuHasCheckableItems)
        size.rwidth() += MarkWidth;
    if (entry.menuItemType == QStyleOptionMenuItem::SubMenu)
        size.rwidth() += ArrowWidth;
    if (entry.text.contains(u'\t'))
        size.rwidth() += ShortcutGap;
    return size;
}

/// The widget with a tooltip that the mouse points at, or null.
const QWidget *namedWidget()
{
    const QWidget *widget = QApplication::widgetAt(QCursor::pos());
    return widget && !widget->toolTip().isEmpty() ? widget : nullptr;
}

void placeToolTip(QWidget &tip)
{
    const QWidget *named = namedWidget();
    if (!named)
        return;
    const QRect control(named->mapToGlobal(QPoint()), named->size());
    const QRect room = named->window()->geometry() & named->screen()->availableGeometry();
    tip.move(toolTipPlace(control, tip.size(), room));
}

} // namespace

QPoint toolTipPlace(const QRect &control, const QSize &tip, const QRect &room)
{
    const int middle = control.left() + (control.width() - tip.width()) / 2;
    const int under = control.bottom() + 1 + TipGap;
    const bool fitsUnder = under + tip.height() <= room.bottom() + 1;
    return {std::max(room.left(), std::min(middle, room.right() + 1 - tip.width())),
        fitsUnder ? under : control.top() - TipGap - tip.height()};
}

ProgramStyle::ProgramStyle()
    : QProxyStyle(u"Fusion"_s)
{
}

void ProgramStyle::polish(QWidget *widget)
{
    QProxyStyle::polish(widget);
    if (!isMenu(widget) && !isToolTip(widget))
        return;
    widget->setAttribute(Qt::WA_TranslucentBackground);
    if (isToolTip(widget)) {
        QPalette colors = QGuiApplication::palette();
        colors.setColor(QPalette::ToolTipText, primaryColor(colors));
        widget->setPalette(colors);
    }
    widget->installEventFilter(this);
}

bool ProgramStyle::eventFilter(QObject *watched, QEvent *event)
{
    auto &popup = static_cast<QWidget &>(*watched);
    // A tooltip is moved while it shows when it names one control after the other.
    const bool isPlaced =
        event->type() == QEvent::Show || (event->type() == QEvent::Move && popup.isVisible());
    if (isPlaced && isToolTip(&popup))
        placeToolTip(popup);
    if (isPlaced && !m_isComposited)
        m_under[&popup] = pictureUnder(popup);
    if (event->type() == QEvent::Hide)
        m_under.remove(&popup);
    return QProxyStyle::eventFilter(watched, event);
}

void ProgramStyle::drawPrimitive(
    PrimitiveElement element, const QStyleOption *option, QPainter *painter, const QWidget *widget) const
{
    if (element == PE_FrameMenu && isMenu(widget))
        return; // part of the panel
    if ((element == PE_PanelMenu && isMenu(widget)) || element == PE_PanelTipLabel) {
        painter->drawPixmap(option->rect.topLeft(), m_under.value(widget));
        drawPanel(*painter, option->rect, option->palette, isMenu(widget) ? MenuRadius : TipRadius);
    } else {
        QProxyStyle::drawPrimitive(element, option, painter, widget);
    }
}

void ProgramStyle::drawControl(
    ControlElement element, const QStyleOption *option, QPainter *painter, const QWidget *widget) const
{
    const auto *entry = qstyleoption_cast<const QStyleOptionMenuItem *>(option);
    if (element == CE_MenuEmptyArea && isMenu(widget))
        return; // part of the panel
    if (element != CE_MenuItem || !entry || !isMenu(widget)) {
        QProxyStyle::drawControl(element, option, painter, widget);
        return;
    }
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    if (entry->menuItemType == QStyleOptionMenuItem::Separator)
        drawSeparator(*painter, entry->rect, entry->palette);
    else
        drawEntry(*painter, *entry);
    painter->restore();
}

QSize ProgramStyle::sizeFromContents(
    ContentsType type, const QStyleOption *option, const QSize &size, const QWidget *widget) const
{
    const auto *entry = qstyleoption_cast<const QStyleOptionMenuItem *>(option);
    if (type == CT_MenuItem && entry && isMenu(widget))
        return entrySize(*entry, size);
    return QProxyStyle::sizeFromContents(type, option, size, widget);
}

int ProgramStyle::pixelMetric(PixelMetric metric, const QStyleOption *option, const QWidget *widget) const
{
    if (metric == PM_ToolTipLabelFrameWidth)
        return TipPadding;
    if (isMenu(widget)) {
        if (metric == PM_MenuPanelWidth)
            return 0;
        if (metric == PM_MenuHMargin || metric == PM_MenuVMargin)
            return MenuPadding;
    }
    return QProxyStyle::pixelMetric(metric, option, widget);
}

int ProgramStyle::styleHint(
    StyleHint hint, const QStyleOption *option, const QWidget *widget, QStyleHintReturn *answer) const
{
    if (hint == SH_Menu_Mask || hint == SH_ToolTip_Mask)
        return 0;
    if (hint == SH_ToolTipLabel_Opacity)
        return 255;
    if (hint == SH_Menu_SpaceActivatesItem)
        return 1;
    if (hint == SH_Widget_Animation_Duration && !m_isAnimated)
        return 0;
    return QProxyStyle::styleHint(hint, option, widget, answer);
}

QIcon ProgramStyle::standardIcon(
    StandardPixmap symbol, const QStyleOption *option, const QWidget *widget) const
{
    if (symbol == SP_ToolBarHorizontalExtensionButton)
        return {};
    return QProxyStyle::standardIcon(symbol, option, widget);
}
