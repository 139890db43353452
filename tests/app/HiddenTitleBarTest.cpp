#include "tests/PaintCount.h"
#include "tests/TestProgram.h"
#include "tests/app/AppFixture.h"
#include "ui/PlaylistView.h"
#include "ui/controls/Backdrop.h"
#include "ui/controls/Cover.h"
#include "ui/controls/Label.h"
#include "ui/controls/ScrollBar.h"
#include "ui/controls/SelectableLabel.h"
#include "ui/controls/Slider.h"

#include <QAbstractButton>

using namespace Qt::StringLiterals;

/// The window's content lies right below its top edge, with menus and buttons over it.
class HiddenTitleBarTest : public QObject {
    Q_OBJECT

private:
    /// Where a piece lies in the window.
    static QRect place(const AppFixture &f, const QWidget &piece)
    {
        return {piece.mapTo(&f.window, QPoint()), piece.size()};
    }

    static void drag(const AppFixture &f, QPoint from)
    {
        QWindow *window = f.window.windowHandle();
        QTest::mousePress(window, Qt::LeftButton, {}, from);
        QTest::mouseMove(window, from + QPoint(3, 3));
        QTest::mouseMove(window, from + QPoint(20, 20));
        QTest::mouseRelease(window, Qt::LeftButton, {}, from + QPoint(20, 20));
    }

private Q_SLOTS:
    void contentBeginsAtTheTopEdge()
    {
        const AppFixture f;
        QCOMPARE(f.window.width(), 720);
        QCOMPARE(place(f, *f.window.findChild<Backdrop *>()), f.window.rect());
        QCOMPARE(place(f, *f.window.findChild<Cover *>()), QRect(30, 28, 190, 190));
    }

    void stripCoversNothingOfTheContent()
    {
        AppFixture f;
        f.add({u"a.mp3"_s});
        const QRect strip(0, 0, f.window.width(), FramelessWindow::StripHeight);
        QList<QWidget *> pieces{f.window.findChild<Cover *>()};
        for (Label *label : f.window.findChildren<Label *>())
            pieces.append(label);
        for (const QWidget *piece : pieces)
            QVERIFY(!piece->isVisible() || !place(f, *piece).intersects(strip));
    }

    void noControlMovesTheWindow()
    {
        AppFixture f;
        for (const bool isEmpty : {true, false}) { // most controls are disabled on an empty playlist
            QList<QWidget *> controls;
            for (auto *button : f.window.findChildren<QAbstractButton *>())
                controls.append(button);
            for (auto *slider : f.window.findChildren<Slider *>())
                controls.append(slider);
            controls.append(f.window.findChild<PlaylistView *>()->viewport());
            for (const QWidget *control : controls) {
                if (!control->isVisible())
                    continue;
                drag(f, place(f, *control).center());
                QVERIFY2(f.windowMoves == 0, control->metaObject()->className());
            }
            drag(f, place(f, *f.window.findChild<SelectableLabel *>()).topLeft() + QPoint(5, 15));
            QCOMPARE(f.windowMoves, 0);
            if (isEmpty)
                f.add({u"a.mp3"_s, u"b.mp3"_s});
        }
    }

    void everythingElseMovesTheWindow()
    {
        AppFixture f;
        drag(f, {360, 14}); // the strip
        QCOMPARE(f.windowMoves, 1);
        drag(f, {15, 250}); // the backdrop
        QCOMPARE(f.windowMoves, 2);
        drag(f, place(f, *f.window.findChild<Cover *>()).center());
        QCOMPARE(f.windowMoves, 3);
        f.add({u"a.mp3"_s});
        auto &title = *f.window.findChild<SelectableLabel *>();
        QTRY_COMPARE(title.text(), u"a"_s);
        title.selectAll();
        drag(f, place(f, title).center()); // the blank beside it
        QCOMPARE(f.windowMoves, 4);
        QCOMPARE(title.selectedText(), u"a"_s);
    }

    void scrollBarIsTakenWhereItShows()
    {
        AppFixture f;
        QStringList names;
        for (int i = 0; i < 50; ++i)
            names.append(u"%1.mp3"_s.arg(i));
        f.add(names);
        auto &bar = *f.window.findChild<ScrollBar *>();
        QTRY_VERIFY(bar.maximum() > 0);
        const QImage shown = bar.grab(QRect(0, 0, bar.width(), 30)).toImage();
        int seen = 0;
        for (int x = 0; x < bar.width(); ++x) {
            if (shown.pixelColor(x, 20).alpha() == 0 || shown.pixelColor(x, 20) == shown.pixelColor(x, 0))
                continue;
            ++seen;
            QCOMPARE(f.window.childAt(bar.mapTo(&f.window, QPoint(x, 20))), &bar);
        }
        QVERIFY(seen >= 5);
    }

    void spaceStillTogglesAfterTheButtonsWereUsed()
    {
        AppFixture f;
        f.add({u"a.mp3"_s});
        auto &zoom = *f.window.findChildren<WindowButton *>().at(1);
        for (const bool fillsScreen : {true, false}) {
            QTest::mouseClick(f.window.windowHandle(), Qt::LeftButton, {}, place(f, zoom).center());
            QTRY_COMPARE(f.window.isMaximized(), fillsScreen);
        }
        f.press(Qt::Key_Space);
        QVERIFY(f.player.isPlaying());
        QVERIFY(!f.window.isMaximized());
    }

    void tickPaintsNothingAroundTheContent()
    {
        AppFixture f;
        f.add({u"a.mp3"_s});
        f.player.play();
        auto &seekBar = *f.window.findChild<Slider *>();
        QList<QWidget *> around{f.window.findChild<WindowFrame *>(), &f.window.menuBar()};
        for (WindowButton *button : f.window.findChildren<WindowButton *>())
            around.append(button);
        QTRY_VERIFY(seekBar.isEnabled());
        QCoreApplication::processEvents();
        QCoreApplication::processEvents();
        const PaintCount painted(around);
        const PaintCount ticked({&seekBar});
        f.player.currentTime = 20;
        QTRY_VERIFY(ticked.count > 0);
        QCOMPARE(painted.count, 0);
        f.window.menuBar().update();
        QTRY_VERIFY(painted.count > 0);
    }
};

LUMAVERDINE_TEST(HiddenTitleBarTest)
#include "HiddenTitleBarTest.moc"
