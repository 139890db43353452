#include "desktop/WindowButton.h"
#include "tests/PaintCount.h"
#include "tests/TestProgram.h"

#include <QPainter>
#include <QPainterPath>

using namespace Qt::StringLiterals;

namespace {

using Kind = WindowButton::Kind;

enum class State { Idle, Hovered, Pressed };

QImage whiteScreen(double scale)
{
    QImage screen(QSize(24, 24) * scale, QImage::Format_ARGB32_Premultiplied);
    screen.fill(Qt::white);
    return screen;
}

/// A button in black on white, of a window that is not the active one.
QImage shown(Kind kind, double scale, State state)
{
    WindowButton button(kind);
    QPalette black;
    black.setColor(QPalette::WindowText, Qt::black);
    button.setPalette(black);
    button.placeAt({}, {});
    button.setAttribute(Qt::WA_UnderMouse, state == State::Hovered);
    button.setDown(state == State::Pressed);
    QImage screen = whiteScreen(scale);
    screen.setDevicePixelRatio(scale);
    QPainter painter(&screen);
    button.render(&painter, {}, {}, QWidget::DrawChildren);
    painter.end();
    screen.setDevicePixelRatio(1);
    return screen;
}

struct Sign {
    QRectF square; ///< device pixels
    int width; ///< of its lines
    double point; ///< device pixels
};

void draw(QPainter &painter, Kind kind, const Sign &sign)
{
    const QRectF &square = sign.square;
    if (kind == Kind::Close) {
        QPainterPath cross(square.topLeft()); // as one line, so that the crossing is no darker
        cross.lineTo(square.bottomRight());
        cross.moveTo(square.topRight());
        cross.lineTo(square.bottomLeft());
        painter.drawPath(cross);
    } else if (kind == Kind::Minimize) {
        const double middle = square.center().y();
        painter.drawLine(QPointF(square.left(), middle), QPointF(square.right(), middle));
    } else if (kind == Kind::Zoom) {
        painter.drawRoundedRect(square, 2 * sign.point, 2 * sign.point);
    } else {
        const int shift = sign.width + qRound(sign.point); // a point apart
        painter.drawRoundedRect(square.adjusted(0, shift, -shift, 0), 1.5 * sign.point, 1.5 * sign.point);
        painter.drawPolyline(QPolygonF({{square.left() + shift, square.top()}, square.topRight(),
            {square.right(), square.bottom() - shift}}));
    }
}

QColor black(double opacity)
{
    return QColor::fromRgbF(0, 0, 0, float(opacity));
}

} // namespace

class WindowButtonTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void signIsDrawnInWholePixels_data()
    {
        QTest::addColumn<double>("scale");
        QTest::addColumn<QRectF>("square");
        QTest::addColumn<int>("width");
        QTest::newRow("1") << 1.0 << QRectF(8, 8, 8, 8) << 2;
        QTest::newRow("1.25") << 1.25 << QRectF(10, 10, 10, 10) << 2;
        QTest::newRow("1.5") << 1.5 << QRectF(12, 12, 12, 12) << 2;
        QTest::newRow("2") << 2.0 << QRectF(15.5, 15.5, 18, 18) << 3;
    }

    void signIsDrawnInWholePixels()
    {
        QFETCH(const double, scale);
        QFETCH(const QRectF, square);
        QFETCH(const int, width);
        const std::tuple<State, double, double> looks[] = {
            {State::Idle, 0, 0.4}, {State::Hovered, 0.07, 0.8}, {State::Pressed, 0.2, 0.4}};
        for (const Kind kind : {Kind::Close, Kind::Minimize, Kind::Zoom, Kind::Restore}) {
            for (const auto &[state, ground, ink] : looks) {
                QImage wanted = whiteScreen(scale);
                QPainter painter(&wanted);
                painter.setRenderHint(QPainter::Antialiasing);
                painter.setPen(Qt::NoPen);
                painter.setBrush(black(ground));
                painter.drawEllipse(wanted.rect());
                painter.setPen(QPen(black(ink), width, Qt::SolidLine, Qt::RoundCap));
                painter.setBrush(Qt::NoBrush);
                draw(painter, kind, {square, width, scale});
                painter.end();
                QVERIFY2(shown(kind, scale, state) == wanted,
                    qPrintable(u"sign %1 in state %2"_s.arg(int(kind)).arg(int(state))));
            }
        }
    }

    void anotherSignShowsAtOnce()
    {
        WindowButton button(Kind::Zoom);
        button.show();
        QVERIFY(QTest::qWaitForWindowExposed(&button));
        QTRY_VERIFY(button.isActiveWindow());
        QCoreApplication::processEvents();
        const PaintCount painted({&button});
        button.setKind(Kind::Restore);
        QTRY_VERIFY(painted.count > 0);
    }
};

LUMAVERDINE_TEST(WindowButtonTest)
#include "WindowButtonTest.moc"
