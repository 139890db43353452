#include "ui/Symbol.h"

#include <QImage>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

const QStringList Names{u"music.note"_s, u"music.note.list"_s, u"shuffle"_s, u"repeat"_s,
    u"backward.end.fill"_s, u"forward.end.fill"_s, u"play.fill"_s, u"pause.fill"_s, u"plus"_s, u"ellipsis"_s,
    u"speaker.slash.fill"_s, u"speaker.wave.1.fill"_s, u"speaker.wave.2.fill"_s, u"speaker.wave.3.fill"_s};

QRect inkOf(const QImage &image)
{
    QRect ink;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (image.pixelColor(x, y).alpha() > 0)
                ink |= QRect(x, y, 1, 1);
        }
    }
    return ink;
}

} // namespace

class SymbolTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everySymbolIsDrawnInsideItsSquare_data()
    {
        QTest::addColumn<QString>("name");
        for (const QString &name : Names)
            QTest::newRow(qPrintable(name)) << name;
    }

    void everySymbolIsDrawnInsideItsSquare()
    {
        QFETCH(const QString, name);
        const QImage image = symbolPixmap(name, 48, Qt::black, 2).toImage();
        const QRect ink = inkOf(image);
        QVERIFY(ink.width() > image.width() / 2);
        QVERIFY2(image.rect().adjusted(1, 1, -1, -1).contains(ink), "cut at the edge");
    }

    void allSymbolsDiffer()
    {
        QList<QImage> drawn;
        for (const QString &name : Names) {
            const QImage image = symbolPixmap(name, 20, Qt::black, 1).toImage();
            QVERIFY2(!drawn.contains(image), qPrintable(name));
            drawn.append(image);
        }
    }

    void symbolHasTheColourAskedFor()
    {
        const QImage image = symbolPixmap(u"pause.fill"_s, 48, Qt::red, 1).toImage();
        const QRect ink = inkOf(image);
        const QColor inBar = image.pixelColor(ink.left() + 4, ink.center().y());
        QCOMPARE(inBar.rgba(), QColor(Qt::red).rgba());
    }

    void symbolIsSharpAtEveryScale_data()
    {
        QTest::addColumn<double>("scale");
        for (const double scale : {1.0, 1.25, 1.5, 2.0, 3.0})
            QTest::newRow(qPrintable(QString::number(scale))) << scale;
    }

    void symbolIsSharpAtEveryScale()
    {
        QFETCH(const double, scale);
        const QPixmap pixmap = symbolPixmap(u"play.fill"_s, 23, Qt::black, scale);
        QCOMPARE(pixmap.devicePixelRatio(), scale);
        QCOMPARE(pixmap.width(), qRound(symbolExtent(23) * scale));
    }
};

QTEST_MAIN(SymbolTest)
#include "SymbolTest.moc"
