#include "ui/controls/Backdrop.h"
#include "tests/TestProgram.h"

#include <QApplication>
#include <QPainter>
#include <cmath>

namespace {

constexpr QSize Screen(1920, 1080);

struct BackdropFixture {
    Backdrop backdrop;

    BackdropFixture(QRgb window, QRgb text)
    {
        QPalette palette;
        palette.setColor(QPalette::Window, QColor(window));
        palette.setColor(QPalette::WindowText, QColor(text));
        backdrop.setPalette(palette);
        backdrop.resize(Screen);
    }

    [[nodiscard]] QImage shown(const QRegion &part = QRect(QPoint(), Screen))
    {
        QImage image(Screen, QImage::Format_RGB32);
        image.fill(Qt::magenta);
        backdrop.render(&image, part.boundingRect().topLeft(), part, QWidget::RenderFlags());
        return image;
    }
};

/// What a channel has to show at a pixel: the ground under the tint, before it is rounded.
double exactAt(QPoint pixel, int ground, int text)
{
    const double width = Screen.width();
    const double height = Screen.height();
    const double along = (pixel.x() * width + pixel.y() * height) / (width * width + height * height);
    const double tint = along < 0.5 ? std::lerp(0.04, 0, along * 2) : std::lerp(0, 0.025, along * 2 - 1);
    return std::lerp(ground, text, tint);
}

void addSchemes()
{
    QTest::addColumn<QRgb>("window");
    QTest::addColumn<QRgb>("text");
    QTest::newRow("dark") << 0xff242629U << 0xfff4f4f5U;
    QTest::newRow("light") << 0xffefefefU << 0xff000000U;
    QTest::newRow("coloured") << 0xff002b36U << 0xfffdf6e3U;
}

} // namespace

class BackdropTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void tintGoesFromCornerToCornerWithoutBands_data() { addSchemes(); }

    /// The mean of every small square is the exact colour, to a tenth of what eight bits can tell apart.
    void tintGoesFromCornerToCornerWithoutBands()
    {
        QFETCH(const QRgb, window);
        QFETCH(const QRgb, text);
        constexpr int Square = 8;
        const QImage shown = BackdropFixture(window, text).shown();
        for (int top = 0; top < Screen.height(); top += Square) {
            for (int left = 0; left < Screen.width(); left += Square) {
                double sum[3] = {};
                for (int i = 0; i < Square * Square; ++i) {
                    const QRgb pixel = shown.pixel(left + i % Square, top + i / Square);
                    sum[0] += qRed(pixel);
                    sum[1] += qGreen(pixel);
                    sum[2] += qBlue(pixel);
                }
                const QPoint middle(left + Square / 2, top + Square / 2);
                const double exact[] = {exactAt(middle, qRed(window), qRed(text)),
                    exactAt(middle, qGreen(window), qGreen(text)),
                    exactAt(middle, qBlue(window), qBlue(text))};
                for (int channel = 0; channel < 3; ++channel) {
                    const double error = sum[channel] / (Square * Square) - exact[channel];
                    QVERIFY2(std::abs(error) < 0.1, qPrintable(QString::number(error)));
                }
            }
        }
    }

    void everyPixelIsOneOfTheTwoNearestColours()
    {
        const QImage shown = BackdropFixture(0xff242629U, 0xfff4f4f5U).shown();
        for (int y = 0; y < Screen.height(); y += 7) {
            for (int x = 0; x < Screen.width(); x += 7)
                QVERIFY(std::abs(qRed(shown.pixel(x, y)) - exactAt({x, y}, 0x24, 0xf4)) < 1.05);
        }
    }

    void partThatIsPaintedAgainFitsTheRest()
    {
        BackdropFixture f(0xff242629U, 0xfff4f4f5U);
        const QRect part(333, 201, 701, 130);
        const QImage whole = f.shown();
        const QImage again = f.shown(part);
        QCOMPARE(again.copy(part), whole.copy(part));
        QCOMPARE(again.pixelColor(part.topLeft() - QPoint(1, 0)), QColor(Qt::magenta));
        QCOMPARE(again.pixelColor(part.bottomRight() + QPoint(1, 1)), QColor(Qt::magenta));
    }

    void otherPaletteShowsAtOnce()
    {
        BackdropFixture f(0xff242629U, 0xfff4f4f5U);
        const QImage dark = f.shown();
        QPalette palette = f.backdrop.palette();
        palette.setColor(QPalette::Window, Qt::white);
        f.backdrop.setPalette(palette);
        QVERIFY(qRed(f.shown().pixel(960, 540)) > 250);
        palette.setColor(QPalette::Window, QColor(0x242629U));
        palette.setColor(QPalette::WindowText, Qt::black);
        f.backdrop.setPalette(palette);
        QVERIFY(qRed(f.shown().pixel(0, 0)) < qRed(dark.pixel(0, 0)));
    }
};

LUMAVERDINE_TEST(BackdropTest)
#include "BackdropTest.moc"
