#include "desktop/FramelessWindow.h"
#include "tests/TestProgram.h"

#include <QPainter>
#include <QPainterPath>
#include <QtMath>

using namespace Qt::StringLiterals;

class WindowFrameTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void edgesAreGrippedWithinFourPoints_data()
    {
        QTest::addColumn<QPoint>("point");
        QTest::addColumn<Qt::Edges>("edges");
        const auto row = [](const char *name, QPoint point, Qt::Edges edges) {
            QTest::newRow(name) << point << edges;
        };
        row("left", {3, 300}, Qt::LeftEdge);
        row("beside left", {4, 300}, {});
        row("right", {716, 300}, Qt::RightEdge);
        row("beside right", {715, 300}, {});
        row("top", {300, 0}, Qt::TopEdge);
        row("bottom", {300, 619}, Qt::BottomEdge);
        row("middle", {300, 300}, {});
        row("top left", {0, 0}, Qt::TopEdge | Qt::LeftEdge);
        row("top right along the top", {705, 2}, Qt::TopEdge | Qt::RightEdge);
        row("bottom right along the side", {718, 605}, Qt::BottomEdge | Qt::RightEdge);
        row("bottom left", {3, 616}, Qt::BottomEdge | Qt::LeftEdge);
        row("inside of the corner", {8, 8}, {});
        row("inside of the top, further right than the window is high", {650, 8}, {});
    }
    void edgesAreGrippedWithinFourPoints()
    {
        QFETCH(const QPoint, point);
        QFETCH(const Qt::Edges, edges);
        QCOMPARE(WindowFrame::edgesAt(point, {720, 620}), edges);
    }

    void hairlineIsOneSharpLine_data()
    {
        QTest::addColumn<double>("scale");
        QTest::addColumn<int>("thickness"); // device pixels
        QTest::newRow("1") << 1.0 << 1;
        QTest::newRow("1.04") << 1.04 << 1;
        QTest::newRow("1.25") << 1.25 << 1;
        QTest::newRow("1.5") << 1.5 << 1;
        QTest::newRow("1.75") << 1.75 << 1;
        QTest::newRow("2") << 2.0 << 2;
        QTest::newRow("3") << 3.0 << 3;
    }
    void hairlineIsOneSharpLine()
    {
        QFETCH(const double, scale);
        QFETCH(const int, thickness);
        for (const QSize size : {QSize(720, 620), QSize(721, 623)}) {
            QWidget window;
            QPalette black;
            black.setColor(QPalette::WindowText, Qt::black);
            window.setPalette(black);
            WindowFrame frame(&window);
            frame.resize(size);
            const int width = qFloor(size.width() * scale);
            const int height = qFloor(size.height() * scale);
            QImage screen(width, height, QImage::Format_RGB32);
            screen.setDevicePixelRatio(scale);
            screen.fill(Qt::white);
            QPainter painter(&screen);
            frame.render(&painter, {}, {}, QWidget::DrawChildren);
            painter.end();
            const int grey = qRound(255 * (1 - 0.18));
            const auto isLine = [&](int x, int y) { return std::abs(qRed(screen.pixel(x, y)) - grey) <= 1; };
            for (int i = 0; i < 8; ++i) {
                const bool isInLine = i < thickness;
                for (const QPoint pixel : {QPoint(i, 300), QPoint(width - 1 - i, 300), QPoint(300, i),
                         QPoint(300, height - 1 - i)}) {
                    const QColor color = screen.pixelColor(pixel);
                    QVERIFY2(isInLine ? isLine(pixel.x(), pixel.y()) : color == Qt::white,
                        qPrintable(u"%1, %2: %3"_s.arg(pixel.x()).arg(pixel.y()).arg(color.name())));
                }
            }
        }
    }

    void roundCornersLeaveNothingOutside_data() { hairlineIsOneSharpLine_data(); }

    /// The hairline follows them, and nothing else of the content is touched.
    void roundCornersLeaveNothingOutside()
    {
        QFETCH(const double, scale);
        QFETCH(const int, thickness);
        for (const QSize size : {QSize(720, 620), QSize(721, 623)}) {
            QWidget window;
            window.setPalette(
                QPalette(Qt::black, Qt::white, Qt::black, Qt::black, Qt::black, Qt::black, Qt::white));
            WindowFrame frame(&window);
            frame.resize(size);
            frame.setRound(true);
            QImage screen((QSizeF(size) * scale).toSize(), QImage::Format_ARGB32_Premultiplied);
            screen.setDevicePixelRatio(scale);
            screen.fill(Qt::white);
            QPainter painter(&screen);
            frame.render(&painter, {}, {}, QWidget::DrawChildren);
            painter.end();
            const double radius = 12 * scale;
            const double right = qFloor(size.width() * scale);
            const double bottom = qFloor(size.height() * scale);
            const int reach = qCeil(16 * scale);
            for (int i = 0; i < 4 * reach * reach; ++i) { // in all corners
                const int x = i % 2 ? i / 4 % reach : screen.width() - 1 - i / 4 % reach;
                const int y = i / 2 % 2 ? i / 4 / reach : screen.height() - 1 - i / 4 / reach;
                // How far the pixel lies outside of the outline, in pixels.
                const QPointF middle(x + 0.5, y + 0.5);
                const QPointF center(std::clamp(middle.x(), radius, right - radius),
                    std::clamp(middle.y(), radius, bottom - radius));
                const double outside = QLineF(center, middle).length() - radius;
                const QColor color = screen.pixelColor(x, y);
                const bool isPart = x >= right || y >= bottom; // of a pixel
                const bool isRight = outside > 0.75 || isPart ? color.alpha() == 0
                    : outside > -0.75                         ? true // on the outline
                    : outside > 0.75 - thickness  ? std::abs(color.red() - 209) <= 1 && color.alpha() == 255
                    : outside < -0.75 - thickness ? color == Qt::white
                                                  : true;
                QVERIFY2(isRight, qPrintable(u"%1, %2: %3"_s.arg(x).arg(y).arg(color.name(QColor::HexArgb))));
            }
        }
    }

    void pointerShowsWhereTheEdgeGoes_data()
    {
        QTest::addColumn<QPoint>("point");
        QTest::addColumn<Qt::CursorShape>("shape");
        QTest::newRow("side") << QPoint(2, 300) << Qt::SizeHorCursor;
        QTest::newRow("top") << QPoint(300, 2) << Qt::SizeVerCursor;
        QTest::newRow("top left") << QPoint(2, 2) << Qt::SizeFDiagCursor;
        QTest::newRow("top right") << QPoint(718, 2) << Qt::SizeBDiagCursor;
        QTest::newRow("bottom left") << QPoint(2, 618) << Qt::SizeBDiagCursor;
        QTest::newRow("bottom right") << QPoint(718, 618) << Qt::SizeFDiagCursor;
    }
    void pointerShowsWhereTheEdgeGoes()
    {
        QFETCH(const QPoint, point);
        QFETCH(const Qt::CursorShape, shape);
        QWidget window;
        WindowFrame frame(&window);
        window.resize(720, 620);
        frame.resize(720, 620);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QTest::mouseMove(window.windowHandle(), point);
        QTRY_COMPARE(frame.cursor().shape(), shape);
    }

    void leavesTheMiddleToTheContent()
    {
        QWidget window;
        QWidget content(&window);
        WindowFrame frame(&window);
        for (const QSize size : {QSize(720, 620), QSize(1280, 800)}) {
            content.resize(size);
            frame.resize(size);
            window.resize(size);
            window.show();
            QCOMPARE(window.childAt(4, 300), &content);
            QCOMPARE(window.childAt(3, 300), &frame);
            QCOMPARE(window.childAt(size.width() - 1, size.height() / 2), &frame);
        }
    }

    void hairlineStandsOutFromAnyBackground_data()
    {
        QTest::addColumn<QColor>("background");
        QTest::addColumn<QColor>("text");
        QTest::newRow("light") << QColor(Qt::white) << QColor(Qt::black);
        QTest::newRow("dark") << QColor(Qt::black) << QColor(Qt::white);
    }
    void hairlineStandsOutFromAnyBackground()
    {
        QFETCH(const QColor, background);
        QFETCH(const QColor, text);
        QWidget window;
        window.setPalette(QPalette(text, background, text, text, background, text, background));
        WindowFrame frame(&window);
        window.resize(200, 100);
        frame.resize(200, 100);
        const QImage shown = window.grab().toImage();
        const auto isLine = [&](int x, int y) { return shown.pixelColor(x, y) != background; };
        QVERIFY(isLine(0, 50) && isLine(199, 50) && isLine(100, 0) && isLine(100, 99) && isLine(0, 0));
        QVERIFY(!isLine(1, 50) && !isLine(100, 1) && !isLine(198, 50) && !isLine(100, 98));
    }
};

LUMAVERDINE_TEST(WindowFrameTest)
#include "WindowFrameTest.moc"
