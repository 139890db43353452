#include "platform/window/WindowButton.h"

#include <QPainter>
#include <QTest>

namespace {

constexpr QSize Size(24, 24);

/// How much black ink the sign of a button has at each pixel, from 0 to 255.
QImage inkOf(WindowButton::Kind kind, double scale)
{
    WindowButton button(kind);
    QPalette black;
    black.setColor(QPalette::WindowText, Qt::black);
    button.setPalette(black);
    button.placeAt({}, {});
    QImage screen(Size * scale, QImage::Format_Grayscale8);
    screen.setDevicePixelRatio(scale);
    screen.fill(Qt::white);
    QPainter painter(&screen);
    button.render(&painter, {}, {}, QWidget::DrawChildren);
    painter.end();
    screen.invertPixels();
    return screen;
}

int inkAt(const QImage &ink, int x, int y)
{
    return qRed(ink.pixel(x, y));
}

/// How many pixels of a column have ink; -1 if one of them has less than all the others.
int sharpInk(const QImage &ink, int x, int top, int bottom)
{
    int count = 0;
    int strongest = 0;
    for (int y = 0; y < ink.height(); ++y)
        strongest = std::max(strongest, inkAt(ink, x, y));
    for (int y = top; y < bottom; ++y) {
        const int here = inkAt(ink, x, y);
        if (here != 0 && here != strongest)
            return -1;
        count += here != 0 ? 1 : 0;
    }
    return count;
}

} // namespace

class WindowButtonTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void linesOfTheSignsAreSharp_data()
    {
        QTest::addColumn<double>("scale");
        QTest::addColumn<int>("width"); // of a line, in device pixels
        QTest::newRow("1") << 1.0 << 2;
        QTest::newRow("1.25") << 1.25 << 2;
        QTest::newRow("1.5") << 1.5 << 2;
        QTest::newRow("2") << 2.0 << 3;
    }

    void linesOfTheSignsAreSharp()
    {
        QFETCH(const double, scale);
        QFETCH(const int, width);
        const QImage minimize = inkOf(WindowButton::Kind::Minimize, scale);
        const int middle = minimize.width() / 2;
        QCOMPARE(sharpInk(minimize, middle, 0, minimize.height()), width);
        const QImage zoom = inkOf(WindowButton::Kind::Zoom, scale);
        QCOMPARE(sharpInk(zoom, middle, 0, middle), width);
        QCOMPARE(sharpInk(zoom, middle, middle, zoom.height()), width);
        const QImage turned = zoom.transformed(QTransform().rotate(90));
        QCOMPARE(sharpInk(turned, middle, 0, middle), width);
    }

    void squaresOfTheRestoreSignStandApart()
    {
        for (const double scale : {1.0, 1.25, 1.5, 2.0}) {
            const QImage restore = inkOf(WindowButton::Kind::Restore, scale);
            const int x = restore.width() / 2 - qRound(scale);
            QString rows;
            for (int y = 0; y < restore.height() / 2; ++y)
                rows += inkAt(restore, x, y) > 0 ? u'#' : u' ';
            const QString line(qRound(1.5 * scale), u'#');
            QCOMPARE(rows.trimmed().left(2 * line.size() + qRound(scale)),
                line + QString(qRound(scale), u' ') + line);
        }
    }

    void signsAreAsLargeAsOneAnother()
    {
        for (const double scale : {1.0, 1.25, 1.5, 2.0}) {
            const auto widthOf = [scale](WindowButton::Kind kind) {
                const QImage ink = inkOf(kind, scale);
                int left = ink.width();
                int right = 0;
                for (int i = 0; i < ink.width() * ink.height(); ++i) {
                    const int x = i % ink.width();
                    if (inkAt(ink, x, i / ink.width()) > 40) {
                        left = std::min(left, x);
                        right = std::max(right, x + 1);
                    }
                }
                return right - left;
            };
            const int zoom = widthOf(WindowButton::Kind::Zoom);
            QVERIFY2(std::abs(zoom - 10.5 * scale) <= 2, qPrintable(QString::number(zoom)));
            QCOMPARE(widthOf(WindowButton::Kind::Minimize), zoom);
            QCOMPARE(widthOf(WindowButton::Kind::Close), zoom);
            QCOMPARE(widthOf(WindowButton::Kind::Restore), zoom);
        }
    }

    void crossingIsNoDarkerThanItsLines()
    {
        const QImage close = inkOf(WindowButton::Kind::Close, 1);
        int strongest = 0;
        for (int y = 0; y < 24; ++y) {
            for (int x = 0; x < 24; ++x)
                strongest = std::max(strongest, inkAt(close, x, y));
        }
        const QImage minimize = inkOf(WindowButton::Kind::Minimize, 1);
        QCOMPARE(strongest, inkAt(minimize, 12, 12));
    }
};

QTEST_MAIN(WindowButtonTest)
#include "WindowButtonTest.moc"
