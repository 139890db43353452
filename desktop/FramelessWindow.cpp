#include "desktop/FramelessWindow.h"

#include "desktop/AccessibleFactory.h"
#include "desktop/Foreground.h"

#include <QApplication>
#include <QMenu>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QScreen>
#include <QtMath>

namespace {

constexpr int Margin = 8; // beside the menus and the buttons
constexpr int ButtonGap = 4;
constexpr float HairlineOpacity = 0.18F;

/// Which end of a line of this length a place on it is near: -1 the first, 1 the last, 0 neither.
int endNear(int place, int length, int reach)
{
    if (place < reach)
        return -1;
    return place >= length - reach ? 1 : 0;
}

Qt::CursorShape cursorOver(Qt::Edges edges)
{
    if (edges == (Qt::LeftEdge | Qt::TopEdge) || edges == (Qt::RightEdge | Qt::BottomEdge))
        return Qt::SizeFDiagCursor;
    if (edges == (Qt::RightEdge | Qt::TopEdge) || edges == (Qt::LeftEdge | Qt::BottomEdge))
        return Qt::SizeBDiagCursor;
    return edges & (Qt::LeftEdge | Qt::RightEdge) ? Qt::SizeHorCursor : Qt::SizeVerCursor;
}

/// The window as assistive technology meets it: the menu of the strip is its last child while it is open.
class WindowAccessible : public QAccessibleWidget {
public:
    explicit WindowAccessible(FramelessWindow *window)
        : QAccessibleWidget(window, QAccessible::Window)
        , m_window(*window)
    {
    }

    [[nodiscard]] int childCount() const override { return menuIndex() + (m_window.openedMenu() ? 1 : 0); }

    [[nodiscard]] QAccessibleInterface *child(int index) const override
    {
        return m_window.openedMenu() && index == menuIndex()
            ? QAccessible::queryAccessibleInterface(m_window.openedMenu())
            : QAccessibleWidget::child(index);
    }

    [[nodiscard]] int indexOfChild(const QAccessibleInterface *child) const override
    {
        return child && m_window.openedMenu() && child->object() == m_window.openedMenu()
            ? menuIndex()
            : QAccessibleWidget::indexOfChild(child);
    }

private:
    [[nodiscard]] int menuIndex() const { return QAccessibleWidget::childCount(); }

    FramelessWindow &m_window;
};

} // namespace

void MenuStrip::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    for (QAction *menu : actions())
        drawTitle(painter, *menu, actionGeometry(menu));
}

void MenuStrip::drawTitle(QPainter &painter, const QAction &menu, const QRect &place) const
{
    if (activeAction() == &menu) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(foreground(palette(), HoverOpacity));
        painter.drawRoundedRect(place, 6, 6);
    }
    const bool isClear = isActiveWindow() || activeAction() || isHighContrast(palette());
    painter.setPen(foreground(palette(), isClear ? 0.8F : 0.62F));
    painter.drawText(place, Qt::AlignCenter | Qt::TextHideMnemonic, menu.text());
}

void MenuStrip::keyPressEvent(QKeyEvent *event)
{
    // What the toolkit makes of the Menu key.
    if (event->key() == Qt::Key_F10 && event->modifiers() == Qt::ShiftModifier) {
        const QPoint place = rect().center();
        QContextMenuEvent question(QContextMenuEvent::Keyboard, place, mapToGlobal(place));
        QCoreApplication::sendEvent(this, &question);
    } else {
        QMenuBar::keyPressEvent(event);
    }
}

WindowFrame::WindowFrame(QWidget *window)
    : QWidget(window)
{
    setMouseTracking(true);
}

Qt::Edges WindowFrame::edgesAt(QPoint point, QSize size)
{
    const bool isOnSide = endNear(point.x(), size.width(), Band) != 0;
    const bool isOnTopOrBottom = endNear(point.y(), size.height(), Band) != 0;
    if (!isOnSide && !isOnTopOrBottom)
        return {};
    const int across = endNear(point.x(), size.width(), isOnTopOrBottom ? Corner : Band);
    const int down = endNear(point.y(), size.height(), isOnSide ? Corner : Band);
    Qt::Edges edges;
    edges.setFlag(Qt::LeftEdge, across < 0).setFlag(Qt::RightEdge, across > 0);
    edges.setFlag(Qt::TopEdge, down < 0).setFlag(Qt::BottomEdge, down > 0);
    return edges;
}

void WindowFrame::setRound(bool isRound)
{
    m_isRound = isRound;
    update();
}

void WindowFrame::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    // Whole pixels along the outermost ones of the window: a part of one would make it two wide and faint.
    const double ratio = painter.deviceTransform().m11();
    const int width = qFloor(ratio);
    const QRectF exact = painter.deviceTransform().mapRect(QRectF(rect()));
    const QRectF edge(exact.topLeft(), QSizeF(qFloor(exact.width()), qFloor(exact.height())));
    const double half = width / 2.0;
    const double radius = m_isRound ? Radius * ratio : 0;
    painter.setWorldTransform(painter.deviceTransform().inverted(), true);
    painter.setPen(QPen(foreground(palette(), HairlineOpacity), width));
    painter.drawRoundedRect(edge.adjusted(half, half, -half, -half), radius - half, radius - half);
    if (!m_isRound)
        return;
    painter.setCompositionMode(QPainter::CompositionMode_DestinationOut);
    painter.fillRect(QRectF(edge.right(), edge.top(), 1, edge.height() + 1), Qt::black); // parts of pixels
    painter.fillRect(QRectF(edge.left(), edge.bottom(), edge.width() + 1, 1), Qt::black);
    QPainterPath outside; // of the first corner
    outside.lineTo(0, radius);
    outside.arcTo(0, 0, 2 * radius, 2 * radius, 180, -90);
    for (const auto &[x, y] : {std::pair(1, 1), {1, -1}, {-1, 1}, {-1, -1}}) {
        const QPointF corner(x > 0 ? edge.left() : edge.right(), y > 0 ? edge.top() : edge.bottom());
        painter.fillPath(QTransform(x, 0, 0, y, corner.x(), corner.y()).map(outside), Qt::black);
    }
}

void WindowFrame::resizeEvent(QResizeEvent *)
{
    setMask(QRegion(rect()) - rect().adjusted(Band, Band, -Band, -Band));
}

void WindowFrame::mouseMoveEvent(QMouseEvent *event)
{
    setCursor(cursorOver(edgesAt(event->position().toPoint(), size())));
}

void WindowFrame::mousePressEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton)
        Q_EMIT pressed(edgesAt(event->position().toPoint(), size()));
}

FramelessWindow::FramelessWindow(WindowSystem system)
    : QWidget(nullptr, Qt::Window | Qt::FramelessWindowHint)
    , m_system(std::move(system))
{
    installAccessible<FramelessWindow, WindowAccessible>();
    setAttribute(Qt::WA_TranslucentBackground); // before the window is made; a compositor may come later
    // A global menu makes the window at once, as it is then.
    m_menus.setParent(this);
    for (WindowButton *button : {&m_minimize, &m_zoom, &m_close})
        button->setParent(this);
    connect(&m_minimize, &QAbstractButton::clicked, this, &QWidget::showMinimized);
    connect(&m_zoom, &QAbstractButton::clicked, this, &FramelessWindow::toggleZoom);
    connect(&m_close, &QAbstractButton::clicked, this, &QWidget::close);
    connect(&m_frame, &WindowFrame::pressed, this,
        [this](Qt::Edges edges) { m_system.startResize(*windowHandle(), edges); });
}

void FramelessWindow::setContent(QWidget *content)
{
    m_content = content;
    content->setParent(this);
    content->lower();
    setMinimumSize(content->minimumSize());
    resize(content->sizeHint().boundedTo(screen()->availableSize()));
}

void FramelessWindow::setButtonLayout(const ButtonLayout &layout)
{
    m_buttonLayout = layout;
    arrange();
}

void FramelessWindow::toggleZoom()
{
    fillsScreen() ? showNormal() : showMaximized();
}

bool FramelessWindow::fillsScreen() const
{
    return isMaximized() || isFullScreen();
}

void FramelessWindow::arrange()
{
    if (m_content)
        m_content->setGeometry(rect());
    m_frame.setGeometry(rect());
    const bool isLeft = m_buttonLayout.side == Qt::LeftEdge;
    const QSize menus = m_menus.sizeHint().boundedTo({width(), StripHeight});
    m_menus.setGeometry(
        {{isLeft ? width() - Margin - menus.width() : Margin, (StripHeight - menus.height()) / 2}, menus});
    arrangeButtons(isLeft);
}

void FramelessWindow::arrangeButtons(bool isLeft)
{
    const QSize size = m_close.sizeHint();
    const qsizetype last = m_buttonLayout.order.size() - 1;
    const qsizetype outermost = isLeft ? 0 : last;
    const int top = (StripHeight - size.height()) / 2;
    int left = isLeft ? Margin : width() - Margin - 3 * size.width() - 2 * ButtonGap;
    for (qsizetype number = 0; number <= last; ++number) {
        // In a corner of the screen the mouse need not aim.
        QMargins reach;
        if (fillsScreen() && number == outermost)
            reach = isLeft ? QMargins(Margin, top, 0, 0) : QMargins(0, top, Margin, 0);
        button(m_buttonLayout.order.at(number)).placeAt({left, top}, reach);
        left += size.width() + ButtonGap;
    }
}

WindowButton &FramelessWindow::button(WindowButton::Kind kind)
{
    if (kind == WindowButton::Kind::Close)
        return m_close;
    return kind == WindowButton::Kind::Minimize ? m_minimize : m_zoom;
}

bool FramelessWindow::event(QEvent *event)
{
    if (event->type() == QEvent::LayoutRequest) {
        arrange(); // another font makes the menus wider
    } else if (event->type() == QEvent::WindowStateChange) {
        m_zoom.setKind(fillsScreen() ? WindowButton::Kind::Restore : WindowButton::Kind::Zoom);
        m_frame.setVisible(!fillsScreen());
        arrange();
    } else if (event->type() == QEvent::ActivationChange) {
        // It shows what the window manager's own title bars would.
        for (QWidget *piece : std::initializer_list<QWidget *>{&m_menus, &m_minimize, &m_zoom, &m_close})
            piece->update();
    }
    return QWidget::event(event);
}

void FramelessWindow::resizeEvent(QResizeEvent *)
{
    // Some Wayland compositors ask for less than the least size, and Qt 6.8 obeys.
    if (size().expandedTo(minimumSize()) != size())
        resize(size().expandedTo(minimumSize()));
    arrange();
}

// What comes here has been left alone by everything in the window.

bool FramelessWindow::isFreeAt(const QPoint &position) const
{
    // A control that is disabled leaves the mouse alone, but it is still a control.
    const QWidget *piece = childAt(position);
    return !piece || piece->isEnabled();
}

void FramelessWindow::mousePressEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton && isFreeAt(event->position().toPoint()))
        m_pressed = event->globalPosition().toPoint();
}

void FramelessWindow::mouseMoveEvent(QMouseEvent *event)
{
    if (!m_pressed)
        return;
    const QPoint way = event->globalPosition().toPoint() - *m_pressed;
    if (way.manhattanLength() < QApplication::startDragDistance())
        return;
    m_pressed.reset();
    m_system.startMove(*windowHandle());
}

void FramelessWindow::mouseReleaseEvent(QMouseEvent *)
{
    m_pressed.reset();
}

void FramelessWindow::mouseDoubleClickEvent(QMouseEvent *event)
{
    const QPoint position = event->position().toPoint();
    if (event->button() == Qt::LeftButton && position.y() < StripHeight && isFreeAt(position))
        toggleZoom();
}

void FramelessWindow::contextMenuEvent(QContextMenuEvent *event)
{
    if (event->y() >= StripHeight)
        return event->ignore();
    m_menu = new QMenu(this);
    m_menu->setAttribute(Qt::WA_DeleteOnClose);
    m_menu->setAccessibleName(tr("Ventana"));
    m_menu->addAction(tr("Minimizar"), this, &QWidget::showMinimized);
    m_menu->addAction(fillsScreen() ? tr("Restaurar") : tr("Maximizar"), this, &FramelessWindow::toggleZoom);
    m_menu->addAction(tr("Cerrar"), this, &QWidget::close);
    m_menu->popup(event->globalPos());
    if (event->reason() == QContextMenuEvent::Keyboard)
        m_menu->setActiveAction(m_menu->actions().constFirst());
}
