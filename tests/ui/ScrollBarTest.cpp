#include "ui/controls/ScrollBar.h"
#include "tests/TestProgram.h"
#include "tests/ui/ViewFixture.h"
#include "ui/PlaylistView.h"

#include <QStyleOptionSlider>
#include <QWheelEvent>

using namespace Qt::StringLiterals;

namespace {

struct ScrollFixture : ViewFixture {
    PlaylistView &list = *view.findChild<PlaylistView *>();
    ScrollBar &bar = *view.findChild<ScrollBar *>();

    explicit ScrollFixture(const char *letters = "abcdefghijklmnopqrst")
    {
        add(letters);
        render();
    }

    /// Whether something is drawn at a height of the bar.
    [[nodiscard]] bool isThumbAt(int y) { return inkAt(y) > 20; }
    [[nodiscard]] int inkAt(int y)
    {
        QImage image(bar.size(), QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        bar.render(&image, {}, {}, {});
        return image.pixelColor(bar.width() / 2 - 1, y).alpha();
    }

    void drag(int from, int to)
    {
        QTest::mousePress(&bar, Qt::LeftButton, {}, QPoint(4, from));
        QTest::mouseMove(&bar, QPoint(4, to));
        QTest::mouseRelease(&bar, Qt::LeftButton, {}, QPoint(4, to));
    }
};

} // namespace

class ScrollBarTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void thumbStandsForWhatIsShown()
    {
        ScrollFixture f;
        QVERIFY(f.isThumbAt(6));
        QVERIFY(!f.isThumbAt(f.bar.height() - 6));
        f.bar.setValue(f.bar.maximum());
        QVERIFY(!f.isThumbAt(6));
        QVERIFY(f.isThumbAt(f.bar.height() - 6));
    }

    void thumbLeavesTheWindowItsEdge()
    {
        ScrollFixture f;
        QImage image(f.bar.size(), QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        f.bar.render(&image, {}, {}, {});
        QCOMPARE(f.bar.width(), 10);
        for (int x = 0; x < 10; ++x)
            QCOMPARE(image.pixelColor(x, 15).alpha(), x >= 1 && x < 6 ? qRound(0.3 * 255) : 0);
        QCOMPARE(f.inkAt(1), 0);
        QVERIFY(f.inkAt(2) > 40);
    }

    void itsPartsLieOneUnderTheOtherAndAreAsWideAsIt()
    {
        ScrollFixture f;
        QStyleOptionSlider option;
        option.initFrom(&f.bar);
        option.orientation = Qt::Vertical;
        option.maximum = 100;
        option.pageStep = 100;
        option.sliderPosition = 50;
        int top = 0;
        for (const auto part :
            {QStyle::SC_ScrollBarSubPage, QStyle::SC_ScrollBarSlider, QStyle::SC_ScrollBarAddPage}) {
            const QRect place = f.bar.style()->subControlRect(QStyle::CC_ScrollBar, &option, part, &f.bar);
            QCOMPARE(place, QRect(0, top, 10, place.height()));
            top += place.height();
        }
        QCOMPARE(top, f.bar.height());
    }

    void inAllElseItIsAScrollBarOfTheDesktop()
    {
        ScrollFixture f;
        const QStyle &ours = *f.bar.style();
        const QStyle &desktops = *QApplication::style();
        QCOMPARE(ours.styleHint(QStyle::SH_ScrollBar_Transient, nullptr, &f.bar), 0);
        QVERIFY(desktops.styleHint(QStyle::SH_Widget_Animation_Duration, nullptr, &f.bar) > 0);
        for (const auto hint :
            {QStyle::SH_Widget_Animation_Duration, QStyle::SH_ScrollBar_MiddleClickAbsolutePosition})
            QCOMPARE(ours.styleHint(hint, nullptr, &f.bar), desktops.styleHint(hint, nullptr, &f.bar));
        QCOMPARE(f.bar.accessibleName(), u"Desplazamiento"_s);
        QVERIFY(f.bar.testAttribute(Qt::WA_SetCursor));
    }

    void nothingIsDrawnWhereNothingScrolls()
    {
        ScrollFixture f("a");
        QCOMPARE(f.bar.maximum(), 0);
        for (int y = 0; y < f.bar.height(); ++y)
            QVERIFY(!f.isThumbAt(y));
    }

    void rowsKeepTheirPaddingAtAnyWidthAndLength()
    {
        for (const char *letters : {"a", "abcdefghijklmnopqrst"}) {
            ScrollFixture f(letters);
            for (const QSize size : {QSize(720, 620), QSize(901, 700), QSize(1280, 800)}) {
                f.view.resize(size);
                f.render();
                const QRect row = f.list.visualRect(f.list.model()->index(0, 0));
                const QPoint corner = f.list.viewport()->mapTo(&f.list, row.topLeft());
                QCOMPARE(corner, QPoint(10, 10));
                QCOMPARE(corner.x() + row.width(), f.list.width() - 10);
            }
        }
    }

    void lastRowKeepsItsPaddingToo()
    {
        ScrollFixture f;
        f.bar.setValue(f.bar.maximum());
        const QRect row = f.list.visualRect(f.list.model()->index(19, 0));
        QCOMPARE(row.bottom() + 1, f.list.viewport()->height() - 10);
    }

    void thumbIsDragged()
    {
        ScrollFixture f;
        f.drag(10, f.bar.height() + 50);
        QCOMPARE(f.bar.value(), f.bar.maximum());
        f.drag(f.bar.height() - 10, -50);
        QCOMPARE(f.bar.value(), 0);
        const int half = (f.bar.height() - 32) / 4;
        f.drag(10, 10 + half);
        QVERIFY(f.bar.value() > 0 && f.bar.value() < f.bar.maximum());
    }

    void clickBesideTheThumbTurnsAPage()
    {
        ScrollFixture f;
        QTest::mouseClick(&f.bar, Qt::LeftButton, {}, QPoint(4, f.bar.height() - 3));
        QCOMPARE(f.bar.value(), std::min(f.bar.pageStep(), f.bar.maximum()));
        QTest::mouseClick(&f.bar, Qt::LeftButton, {}, QPoint(4, 3));
        QCOMPARE(f.bar.value(), 0);
    }

    void wheelScrolls()
    {
        ScrollFixture f;
        QWheelEvent turn({4, 40}, f.bar.mapToGlobal(QPointF(4, 40)), {}, {0, -120}, Qt::NoButton, {},
            Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(&f.bar, &turn);
        QVERIFY(f.bar.value() > 0);
    }

    void thumbOfALongListCanStillBeTaken()
    {
        ScrollFixture f;
        QList<Track> tracks;
        for (int i = 0; i < 5000; ++i)
            tracks.append(Track(f.url(QString::number(i))));
        f.player.playlist = tracks;
        f.render();
        f.render();
        QVERIFY(f.bar.maximum() > 100'000);
        QVERIFY(f.isThumbAt(25));
        f.drag(20, f.bar.height());
        QCOMPARE(f.bar.value(), f.bar.maximum());
    }

    void thumbAnswersToTheMouse()
    {
        ScrollFixture f;
        QCOMPARE(f.inkAt(10), qRound(0.3 * 255));
        f.bar.setAttribute(Qt::WA_UnderMouse);
        QCOMPARE(f.inkAt(10), qRound(0.48 * 255));
        QTest::mousePress(&f.bar, Qt::LeftButton, {}, QPoint(4, 10));
        QCOMPARE(f.inkAt(10), qRound(0.6 * 255));
        QTest::mouseRelease(&f.bar, Qt::LeftButton, {}, QPoint(4, 10));
    }
};

LUMAVERDINE_TEST(ScrollBarTest)
#include "ScrollBarTest.moc"
