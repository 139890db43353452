#include "ui/controls/Divider.h"
#include "tests/TestProgram.h"

#include <QPainter>
#include <QtMath>

using namespace Qt::StringLiterals;

class DividerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void isALineOfWholePixelsAtEveryPlace_data()
    {
        QTest::addColumn<double>("scale");
        for (const double scale : {1.0, 1.04, 1.25, 1.5, 1.75, 2.0, 3.0})
            QTest::addRow("%g", scale) << scale;
    }

    void isALineOfWholePixelsAtEveryPlace()
    {
        QFETCH(const double, scale);
        QWidget window;
        window.setPalette(
            QPalette(Qt::black, Qt::white, Qt::black, Qt::black, Qt::black, Qt::black, Qt::white));
        auto *divider = new Divider(1);
        divider->setParent(&window);
        window.resize(201, 240);
        for (int top = 1; top < 200; ++top) {
            divider->setGeometry(0, top, 201, 1);
            QImage shown((QSizeF(window.size()) * scale).toSize(), QImage::Format_RGB32);
            shown.setDevicePixelRatio(scale);
            window.render(&shown);
            int height = 0;
            for (int y = 0; y < shown.height(); ++y) {
                const QColor color = shown.pixelColor(0, y);
                if (color == Qt::white)
                    continue;
                ++height;
                QCOMPARE(color, QColor(204, 204, 204)); // a fifth of the text's colour
                QCOMPARE(shown.pixelColor(shown.width() - 1, y), color);
                QVERIFY2(std::abs(y - top * scale) < scale, qPrintable(u"%1 at %2"_s.arg(y).arg(top)));
            }
            QVERIFY2(height == qFloor(scale), qPrintable(u"%1 pixels at %2"_s.arg(height).arg(top)));
        }
    }
};

LUMAVERDINE_TEST(DividerTest)
#include "DividerTest.moc"
