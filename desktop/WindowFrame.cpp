#include "desktop/WindowFrame.h"

#include "desktop/Foreground.h"

#include <QMouseEvent>
#include <QPainter>
#include <QtMath>

namespace {

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

} // namespace

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
    painter.setWorldTransform(painter.deviceTransform().inverted(), true);
    painter.setPen(QPen(foreground(palette(), HairlineOpacity), width));
    painter.drawRect(edge.adjusted(half, half, -half, -half));
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
