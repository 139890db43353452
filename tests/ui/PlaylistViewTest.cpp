#include "ui/PlaylistView.h"
#include "tests/TaggedFile.h"
#include "tests/TestProgram.h"
#include "tests/files/FaultyMedium.h"
#include "tests/ui/ViewFixture.h"
#include "ui/PlaylistRowDelegate.h"
#include "ui/controls/Button.h"
#include "ui/drawing/Colors.h"

#include <QAccessible>
#include <QContextMenuEvent>
#include <QFile>
#include <QMenu>
#include <QScrollBar>
#include <QSignalSpy>
#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

/// The list of a view, and ways to touch its rows.
struct ListFixture : ViewFixture {
    PlaylistView &list = *view.findChild<PlaylistView *>();

    ListFixture() { QCursor::setPos(view.mapToGlobal(QPoint(0, 0))); } // away from the list

    [[nodiscard]] QRect row(int number) const { return list.visualRect(list.model()->index(number, 0)); }

    [[nodiscard]] PlaylistRow content(int number) const
    {
        render();
        return static_cast<const PlaylistModel &>(*list.model()).playlistRow(list.model()->index(number, 0));
    }

    [[nodiscard]] QRect coverOf(int number) const { return PlaylistRowGeometry(row(number), 0, 0, 0).cover; }

    [[nodiscard]] QPoint menuOf(int number) const { return playlistRowMenu(row(number)).center(); }

    void doubleClick(const QPoint &position, Qt::MouseButton button = Qt::LeftButton) const
    {
        QTest::mouseClick(list.viewport(), button, {}, position);
        QTest::mouseDClick(list.viewport(), button, {}, position);
    }

    void askForContextMenu(QContextMenuEvent::Reason reason, const QPoint &position) const
    {
        QContextMenuEvent event(reason, position, list.viewport()->mapToGlobal(position));
        // By key it goes to what has the focus, by mouse to what lies under it.
        const bool isByKey = reason == QContextMenuEvent::Keyboard;
        QCoreApplication::sendEvent(isByKey ? static_cast<QWidget *>(&list) : list.viewport(), &event);
    }

    /// Moves the mouse over the list, without a button.
    void pointAt(const QPoint &position) const
    {
        QMouseEvent move(QEvent::MouseMove, position, list.viewport()->mapToGlobal(position), Qt::NoButton,
            Qt::NoButton, Qt::NoModifier);
        QCoreApplication::sendEvent(list.viewport(), &move);
    }

    [[nodiscard]] QImage look(const QRect &area) const { return list.viewport()->grab(area).toImage(); }

    /// The menu that is open, or null.
    [[nodiscard]] static QMenu *openMenu()
    {
        return qobject_cast<QMenu *>(QApplication::activePopupWidget());
    }

    static void choose(const QString &title)
    {
        for (QAction *entry : openMenu()->actions()) {
            if (entry->text() == title) {
                entry->trigger();
                openMenu()->close();
                return;
            }
        }
        qFatal("there is no entry %s", qPrintable(title));
    }
};

/// The titles of a menu's entries, "-" for a separator.
QStringList entries(const QMenu *menu)
{
    QStringList titles;
    for (const QAction *action : menu->actions())
        titles.append(action->isSeparator() ? u"-"_s : action->text());
    return titles;
}

} // namespace

class PlaylistViewTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void rowsShowTheirTracks()
    {
        ListFixture f;
        f.add("abc");
        f.changeTrack(1, [](Track &track) { track.duration = 185; });
        f.render();
        QCOMPARE(f.list.model()->rowCount(), 3);
        const PlaylistRow second = f.content(1);
        QCOMPARE(second.title, u"b"_s);
        QCOMPARE(second.artist, u"Artista desconocido"_s);
        QCOMPARE(second.length, u"3:05"_s);
        QCOMPARE(second.number, 2);
    }

    void wideCoverIsCroppedEvenlyToItsSquare()
    {
        ListFixture f;
        f.add("ab");
        QFile file(QStringLiteral(TEST_MEDIA "/halves.jpg"));
        QVERIFY(file.open(QIODevice::ReadOnly));
        CoverFiles files;
        const auto halves = files.artwork(file.readAll()); // wide; red on the left, blue on the right
        f.changeTrack(1, [&](Track &track) { track.artwork = halves; });
        f.render();
        const QRect cover = f.coverOf(1);
        const auto list = [&] { return f.list.viewport()->grab().toImage(); };
        QTRY_VERIFY(list().pixelColor(cover.left() + 3, cover.center().y()).red() > 200);
        QVERIFY(list().pixelColor(cover.center().x() - 4, cover.center().y()).red() > 200);
        QVERIFY(list().pixelColor(cover.center().x() + 4, cover.center().y()).blue() > 200);
        QVERIFY(list().pixelColor(cover.right() - 3, cover.center().y()).blue() > 200);
        QVERIFY2(list().pixelColor(cover.topLeft()).blue() == list().pixelColor(cover.topLeft()).red(),
            "the corner is rounded off");
    }

    void currentRowIsMarkedByWhetherItPlays()
    {
        using Marker = PlaylistRow::Marker;
        ListFixture f;
        f.add("ab");
        QCOMPARE(f.content(0).marker, Marker::Paused);
        QCOMPARE(f.content(1).marker, Marker::Number);
        f.player.next();
        QCOMPARE(f.content(0).marker, Marker::Number);
        QCOMPARE(f.content(1).marker, Marker::Playing);
        f.player.pause();
        QCOMPARE(f.content(1).marker, Marker::Paused);
        f.player.play();
        f.player.stop();
        QCOMPARE(f.content(1).marker, Marker::Paused);
    }

    void markFollowsIdentityNotTheFile()
    {
        ListFixture f;
        f.add("ab");
        f.player.removeTrack(f.track(0));
        f.add("a");
        QCOMPARE(f.titles(), u"ba"_s);
        QVERIFY(f.content(0).isCurrent());
        QVERIFY(!f.content(1).isCurrent());
        f.player.playlist = {Track(f.track(0).url())};
        f.render();
        QVERIFY(!f.content(0).isCurrent());
    }

    void doubleClickLoadsAndPlaysASingleOneDoesNothing()
    {
        ListFixture f;
        f.add("abc");
        QTest::mouseClick(f.list.viewport(), Qt::LeftButton, {}, f.row(1).center());
        QCOMPARE(f.current(), u"a"_s);
        QVERIFY(!f.player.isPlaying());
        f.doubleClick(f.row(1).center());
        QCOMPARE(f.current(), u"b"_s);
        QVERIFY(f.player.isPlaying());
    }

    void doubleClickOnTheCurrentRowStartsItAgain()
    {
        ListFixture f;
        f.add("a");
        f.player.play();
        f.player.seek(50);
        const size_t opened = f.platform.opened.size();
        f.doubleClick(f.row(0).center());
        QCOMPARE(f.platform.opened.size(), opened + 1);
        QCOMPARE(f.player.currentTime(), 0);
        QVERIFY(f.player.isPlaying());
    }

    void gapsBetweenThePiecesBelongToTheRow()
    {
        ListFixture f;
        f.add("ab");
        const PlaylistRowGeometry at(f.row(1), 30, 17, 14);
        const int middle = f.row(1).center().y();
        const QList<QPoint> gaps{f.row(1).topLeft(), {at.cover.left() - 6, middle},
            {at.title.left() - 6, middle}, {at.title.right() + 12, middle}, {at.menu.left() - 6, middle},
            f.row(1).bottomRight()};
        for (const QPoint gap : gaps) {
            f.player.load(f.track(0), false);
            f.doubleClick(gap);
            QCOMPARE(f.current(), u"b"_s);
            QVERIFY(f.player.isPlaying());
        }
    }

    void doubleClickElsewhereDoesNothing()
    {
        ListFixture f;
        f.add("a");
        f.doubleClick(QPoint(f.row(0).center().x(), f.row(0).bottom() + 3));
        f.doubleClick(f.row(0).center(), Qt::RightButton);
        QVERIFY(!f.player.isPlaying());
    }

    void ellipsisOpensTheRowMenu()
    {
        ListFixture f;
        f.add("ab");
        QTest::mouseClick(f.list.viewport(), Qt::LeftButton, {}, f.menuOf(1));
        QVERIFY(f.openMenu());
        QCOMPARE(entries(f.openMenu()), QStringList({u"Reproducir"_s, u"-"_s, u"Eliminar de la playlist"_s}));
        f.choose(u"Reproducir"_s);
        QCOMPARE(f.current(), u"b"_s);
        QVERIFY(f.player.isPlaying());

        QTest::mouseClick(f.list.viewport(), Qt::LeftButton, {}, f.menuOf(0));
        f.choose(u"Eliminar de la playlist"_s);
        QCOMPARE(f.titles(), u"b"_s);
        QTRY_VERIFY(!f.list.findChild<QMenu *>());
        QTest::mouseClick(f.list.viewport(), Qt::RightButton, {}, f.menuOf(0));
        QVERIFY(!f.openMenu());
    }

    void thirdClickOnTheEllipsisOpensItsMenuAgain()
    {
        ListFixture f;
        f.add("a");
        QTest::mouseClick(f.list.viewport(), Qt::LeftButton, {}, f.menuOf(0));
        f.openMenu()->close(); // as the second click does, which the list does not get
        QTest::mouseDClick(f.list.viewport(), Qt::LeftButton, {}, f.menuOf(0));
        QTest::mouseRelease(f.list.viewport(), Qt::LeftButton, {}, f.menuOf(0));
        QVERIFY(f.openMenu());
        QVERIFY(!f.player.isPlaying());
    }

    /// Otherwise a second click, on the same or on another ellipsis, could choose an entry.
    void rowMenuLiesInTheWindowClearOfEveryEllipsis()
    {
        ListFixture f;
        f.view.resize(720, 780);
        f.add("abcdefgh");
        int above = 0;
        for (int number = 0; f.row(number).bottom() < f.list.viewport()->height(); ++number) {
            QTest::mouseClick(f.list.viewport(), Qt::LeftButton, {}, f.menuOf(number));
            const QRect square = playlistRowMenu(f.row(number));
            const QRect menu(f.list.viewport()->mapFromGlobal(f.openMenu()->pos()), f.openMenu()->size());
            QVERIFY(f.view.geometry().contains(f.openMenu()->geometry()));
            QCOMPARE(menu.right() + 1, square.left());
            above += menu.top() < square.top();
            QVERIFY(menu.top() == square.bottom() + 1 || menu.bottom() + 1 == square.top());
            f.openMenu()->close();
        }
        QVERIFY(above > 0);
    }

    void contextMenuLiesInTheWindowBesideTheMouse()
    {
        ListFixture f;
        f.view.resize(720, 780);
        f.add("abcdefghijkl");
        const QRect list = f.list.viewport()->rect();
        for (const QPoint place :
            {QPoint(100, 30), QPoint(list.right() - 5, 30), list.bottomRight() - QPoint(60, 20)}) {
            f.askForContextMenu(QContextMenuEvent::Mouse, place);
            const QRect menu = f.openMenu()->geometry();
            QVERIFY(f.view.geometry().contains(menu));
            const QPoint mouse = f.list.viewport()->mapToGlobal(place);
            QVERIFY(!menu.contains(mouse));
            QVERIFY(menu.adjusted(-1, -1, 1, 1).contains(mouse));
            f.openMenu()->close();
        }
    }

    void ellipsisForgetsTheMouseThatHasLeftIt_data()
    {
        QTest::addColumn<bool>("isOverIt");
        QTest::newRow("the mouse has gone to an entry") << false;
        QTest::newRow("the mouse has stayed") << true;
    }

    void ellipsisForgetsTheMouseThatHasLeftIt()
    {
        QFETCH(const bool, isOverIt);
        ListFixture f;
        f.add("ab");
        const auto look = [&f] { return f.list.viewport()->grab(playlistRowMenu(f.row(0))).toImage(); };
        const QImage idle = look();
        const QPoint square = f.list.viewport()->mapToGlobal(f.menuOf(0));
        QCursor::setPos(square);
        QTest::mouseClick(f.list.viewport(), Qt::LeftButton, {}, f.menuOf(0));
        QVERIFY(look() != idle);
        QCursor::setPos(isOverIt ? square : f.openMenu()->geometry().center());
        f.openMenu()->close();
        QCOMPARE(look() != idle, isOverIt);
    }

    void ellipsisForgetsTheMouseWhenItsRowIsScrolledAway()
    {
        ListFixture f;
        f.add("abcdefghijkl");
        const auto look = [&f](int row) {
            return f.list.viewport()->grab(playlistRowMenu(f.row(row))).toImage();
        };
        f.view.resize(720, 780);
        QCursor::setPos(f.list.viewport()->mapToGlobal(f.menuOf(1)));
        f.pointAt(f.menuOf(1));
        const QImage pointed = look(1);
        f.list.verticalScrollBar()->setValue(62); // the next row comes to lie there
        QCOMPARE(look(2), pointed);
        QVERIFY(look(1) != pointed);
    }

    void ellipsisUnderTheMouseLooksLikeTheWindowsButtons()
    {
        ListFixture f;
        f.add("ab");
        f.pointAt(f.menuOf(1));
        const QRect square = playlistRowMenu(f.row(1));
        const QImage shown = f.list.viewport()->grab(square).toImage();
        const QColor ground = shown.pixelColor(0, 0); // the wash is round
        const QColor wash = hoverColor(f.list.palette());
        const double share = wash.alphaF();
        QVERIFY(std::abs(share - 0.07) < 0.001);
        const QColor seen = shown.pixelColor(13, 3);
        QVERIFY(std::abs(seen.red() - (ground.red() * (1 - share) + wash.red() * share)) <= 1);
    }

    void ellipsisAnswersToTheMouse()
    {
        ListFixture f;
        f.view.resize(720, 900);
        f.add("abc");
        const auto look = [&f](int row) {
            return f.list.viewport()->grab(playlistRowMenu(f.row(row))).toImage();
        };
        const QImage idle = look(1);
        f.pointAt(f.menuOf(1));
        const QImage pointed = look(1);
        QVERIFY(pointed != idle);
        QCOMPARE(look(2), idle);
        QTest::mousePress(f.list.viewport(), Qt::LeftButton, {}, f.menuOf(2));
        QVERIFY(look(2) != idle && look(2) != pointed);
        QTest::mouseRelease(f.list.viewport(), Qt::LeftButton, {}, f.row(2).center());
        QCOMPARE(look(2), idle);
        QVERIFY(!f.openMenu());
        f.pointAt(f.menuOf(1));
        QEvent leave(QEvent::Leave);
        QCoreApplication::sendEvent(f.list.viewport(), &leave);
        QCOMPARE(look(1), idle);
    }

    void ellipsisThatTheMouseLeavesIsRepainted()
    {
        struct Painted : QObject {
            QRegion region;
            bool eventFilter(QObject *, QEvent *event) override
            {
                if (event->type() == QEvent::Paint)
                    region += static_cast<QPaintEvent *>(event)->region();
                return false;
            }
        };
        ListFixture f;
        f.add("ab");
        f.pointAt(f.menuOf(0));
        f.render();
        Painted painted;
        f.list.viewport()->installEventFilter(&painted);
        f.pointAt(f.row(0).center());
        QTRY_VERIFY(painted.region.contains(f.menuOf(0)));
    }

    void wholeSquareOfTheEllipsisIsClickable()
    {
        ListFixture f;
        f.add("a");
        const QRect square = playlistRowMenu(f.row(0));
        QCOMPARE(square.size(), QSize(26, 26));
        for (const QPoint corner : {square.topLeft(), square.bottomRight()}) {
            QTest::mouseClick(f.list.viewport(), Qt::LeftButton, {}, corner);
            QVERIFY(f.openMenu());
            f.openMenu()->close();
        }
        QTest::mouseClick(f.list.viewport(), Qt::LeftButton, {}, square.topLeft() - QPoint(1, 0));
        QVERIFY(!f.openMenu());
    }

    void dragOffTheEllipsisOpensNothingAndGoesToNoOtherRow()
    {
        ListFixture f;
        f.view.resize(720, 900);
        f.add("ab");
        QTest::mousePress(f.list.viewport(), Qt::LeftButton, {}, f.menuOf(0));
        const QPoint place = f.row(1).center();
        QMouseEvent move(QEvent::MouseMove, place, f.list.viewport()->mapToGlobal(place), Qt::NoButton,
            Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(f.list.viewport(), &move);
        QTest::mouseRelease(f.list.viewport(), Qt::LeftButton, {}, place);
        QVERIFY(!f.openMenu());
        QCOMPARE(f.list.currentIndex().row(), 0);
    }

    void secondaryClickOpensTheContextMenu()
    {
        ListFixture f;
        f.add("ab");
        f.askForContextMenu(QContextMenuEvent::Mouse, f.row(1).center());
        QVERIFY(f.openMenu());
        QCOMPARE(entries(f.openMenu()), QStringList({u"Reproducir"_s, u"Eliminar de la playlist"_s}));
        QCOMPARE(f.openMenu()->activeAction(), nullptr);
        f.choose(u"Eliminar de la playlist"_s);
        QCOMPARE(f.titles(), u"a"_s);
    }

    void contextMenuNeedsARow()
    {
        ListFixture f;
        f.add("a");
        f.askForContextMenu(QContextMenuEvent::Mouse, QPoint(100, f.row(0).bottom() + 3));
        QVERIFY(!f.openMenu());
    }

    void menuActsOnItsTrackAlsoWhenTheListHasChanged()
    {
        ListFixture f;
        f.add("abc");
        f.askForContextMenu(QContextMenuEvent::Mouse, f.row(1).center());
        f.player.removeTrack(f.track(0));
        f.render();
        f.choose(u"Eliminar de la playlist"_s);
        QCOMPARE(f.titles(), u"c"_s);
    }

    void keysMovePlayRemoveAndOpenTheMenu()
    {
        ListFixture f;
        f.add("abc");
        f.list.setFocus();
        QCOMPARE(f.list.currentIndex().row(), 0);
        QTest::keyClick(&f.list, Qt::Key_Down);
        QCOMPARE(f.list.currentIndex().row(), 1);
        QVERIFY(!f.player.isPlaying());
        QTest::keyClick(&f.list, Qt::Key_Return);
        QCOMPARE(f.current(), u"b"_s);
        QVERIFY(f.player.isPlaying());

        QTest::keyClick(&f.list, Qt::Key_Up);
        QTest::keyClick(&f.list, Qt::Key_Enter, Qt::KeypadModifier);
        QCOMPARE(f.current(), u"a"_s);
        QTest::keyClick(&f.list, Qt::Key_Down);

        QTest::keyClick(&f.list, Qt::Key_F10);
        QVERIFY(!f.openMenu());
        f.askForContextMenu(QContextMenuEvent::Keyboard, {});
        QVERIFY(f.openMenu());
        QCOMPARE(f.openMenu()->activeAction(), f.openMenu()->actions().first());
        f.openMenu()->close();

        QTest::keyClick(&f.list, Qt::Key_Delete);
        f.render();
        QCOMPARE(f.titles(), u"ac"_s);
        QVERIFY(f.list.currentIndex().isValid());
    }

    void keysGoToTheEndsAndByPages()
    {
        ListFixture f;
        f.add("abcdefghijklmnop");
        f.list.setFocus();
        const auto rowAfter = [&f](Qt::Key key) {
            QTest::keyClick(&f.list, key);
            return f.list.currentIndex().row();
        };
        QCOMPARE(rowAfter(Qt::Key_End), 15);
        QVERIFY(f.list.viewport()->rect().contains(f.row(15)));
        QCOMPARE(rowAfter(Qt::Key_Down), 15);
        for (const int height : {620, 640, 660, 900}) { // the first one leaves the list less than two rows
            f.view.resize(720, height);
            f.render();
            const int pageUp = rowAfter(Qt::Key_PageUp);
            QVERIFY2(pageUp > 0 && pageUp < 15, qPrintable(QString::number(height)));
            QVERIFY(pageUp < 14 || height < 900);
            QCOMPARE(rowAfter(Qt::Key_PageDown), 15);
        }
        QCOMPARE(rowAfter(Qt::Key_Home), 0);
        QVERIFY(f.list.viewport()->rect().contains(f.row(0)));
        QCOMPARE(rowAfter(Qt::Key_Up), 0);
        QVERIFY(!f.player.isPlaying());
    }

    void typingGoesToTheTitleThatBeginsSo()
    {
        ListFixture f;
        f.add("abcd");
        f.changeTrack(2, [](Track &track) { track.title = u"Ñandú"_s; });
        f.render();
        f.list.setFocus();
        QTest::sendKeyEvent(QTest::Click, &f.list, Qt::Key_Ntilde, u"ñ"_s, Qt::NoModifier);
        QCOMPARE(f.list.currentIndex().row(), 2);
        QVERIFY(!f.player.isPlaying());
    }

    void keysThatAreHeldCountOnce()
    {
        ListFixture f;
        f.add("abc");
        f.list.setFocus();
        const auto hold = [&f](Qt::Key key) {
            QTest::keyPress(&f.list, key);
            f.render();
            QKeyEvent repeat(QEvent::KeyPress, key, Qt::NoModifier, {}, true);
            QCoreApplication::sendEvent(&f.list, &repeat);
            f.render();
        };
        hold(Qt::Key_Delete);
        QCOMPARE(f.titles(), u"bc"_s);
        const std::size_t opened = f.platform.opened.size();
        hold(Qt::Key_Return);
        QCOMPARE(f.platform.opened.size(), opened + 1);
    }

    void clickOnARowThatShowsInPartScrollsNothing()
    {
        ListFixture f;
        f.add("abcdefghijklmnop");
        QScrollBar &bar = *f.list.verticalScrollBar();
        bar.setValue(45);
        const QRect seen = f.row(0) & f.list.viewport()->rect();
        QVERIFY(seen.height() > 10 && seen.height() < f.row(0).height());
        const QSignalSpy scrolled(&bar, &QScrollBar::valueChanged);
        QTest::mouseClick(f.list.viewport(), Qt::LeftButton, {}, seen.center());
        QCOMPARE(f.list.currentIndex().row(), 0);
        const auto isScrolled = [&scrolled] { return !scrolled.isEmpty(); };
        QVERIFY(!QTest::qWaitFor(isScrolled, QApplication::doubleClickInterval() + 200));
    }

    void keysKeepTheRowAndThePaddingAroundItInSight()
    {
        ListFixture f;
        f.view.resize(720, 800);
        f.add("abcdefghijklmnop");
        f.list.setFocus();
        const QRect room = f.list.viewport()->rect();
        int scrolls = 0;
        const auto press = [&](Qt::Key key) {
            const int former = f.list.verticalScrollBar()->value();
            QTest::keyClick(&f.list, key);
            scrolls += f.list.verticalScrollBar()->value() != former;
            return f.row(f.list.currentIndex().row());
        };
        for (int step = 0; step < 15; ++step) {
            const QRect row = press(Qt::Key_Down);
            QVERIFY(scrolls == 0 || row.bottom() + 10 == room.bottom());
            QVERIFY(row.bottom() + 10 <= room.bottom());
        }
        QVERIFY(scrolls > 10);
        for (const QRect row : {press(Qt::Key_Home), press(Qt::Key_Down), press(Qt::Key_Up)})
            QVERIFY(row.top() >= 10);
        QCOMPARE(f.row(0).top(), 10);
        press(Qt::Key_End);
        for (int step = 0; step < 10; ++step)
            press(Qt::Key_Up);
        QCOMPARE(f.row(5).top(), 10);
    }

    void keysThatGoNowhereScrollNothing()
    {
        ListFixture f;
        f.add("abcdefghijklmnop");
        f.list.setFocus();
        f.list.verticalScrollBar()->setValue(300);
        QTest::keyClick(&f.list, Qt::Key_Up);
        QTest::keyClick(&f.list, Qt::Key_Shift);
        QCOMPARE(f.list.verticalScrollBar()->value(), 300);
    }

    void rowThatDoesNotFitShowsItsBeginning()
    {
        ListFixture f;
        f.add("abcdefghijklmnop");
        f.list.setMaximumHeight(60);
        f.render();
        f.list.setFocus();
        for (int number = 1; number < 6; ++number) {
            QTest::keyClick(&f.list, Qt::Key_Down);
            QCOMPARE(f.row(number).top(), 10);
        }
    }

    void focusByAssistiveTechnologyScrollsToTheRow()
    {
        ListFixture f;
        f.add("abcdefghijklmnop");
        QAccessibleInterface *row = QAccessible::queryAccessibleInterface(&f.list)->child(12);
        row->actionInterface()->doAction(QAccessibleActionInterface::setFocusAction());
        QCOMPARE(f.list.currentIndex().row(), 12);
        QVERIFY(f.list.viewport()->rect().contains(f.row(12)));
    }

    void listThatIsScrolledToItsEndStaysThere()
    {
        ListFixture f;
        f.add("abcdefghijklmnop");
        QScrollBar &bar = *f.list.verticalScrollBar();
        bar.setValue(bar.maximum());
        const int end = bar.value();
        for (const bool isPlaying : {true, false}) {
            f.player.isPlaying = isPlaying;
            f.render();
            QTRY_COMPARE(f.list.findChildren<QTimer *>().size(), 0);
            QCOMPARE(bar.value(), end);
        }
        f.view.resize(800, 620);
        f.render();
        QCOMPARE(bar.value(), end);
    }

    void onlyAKeyShowsWhichRowItIsAt()
    {
        ListFixture f;
        f.add("ab");
        f.view.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&f.view));
        const QImage still = f.list.grab().toImage();
        QTest::mouseClick(f.list.viewport(), Qt::LeftButton, {}, f.row(1).center());
        QVERIFY(f.list.hasFocus());
        QCOMPARE(f.list.grab().toImage(), still);
        const QImage other = f.look(f.row(1));
        QTest::keyClick(&f.list, Qt::Key_Up);
        QVERIFY(f.list.grab().toImage() != still);
        QCOMPARE(f.look(f.row(1)), other);
        QTest::mouseClick(f.list.viewport(), Qt::LeftButton, {}, f.row(1).center());
        QCOMPARE(f.list.grab().toImage(), still);
    }

    void keyboardMenuOpensAtItsRow_data()
    {
        QTest::addColumn<bool>("isMenuKey");
        QTest::newRow("Menu") << true;
        QTest::newRow("Shift+F10") << false;
    }
    void keyboardMenuOpensAtItsRow()
    {
        QFETCH(const bool, isMenuKey);
        ListFixture f;
        f.add("abcdefghijklmnop");
        f.list.setFocus();
        QTest::keyClick(&f.list, Qt::Key_Down);
        f.list.verticalScrollBar()->setValue(400); // the row is out of sight
        if (isMenuKey)
            f.askForContextMenu(QContextMenuEvent::Keyboard, {});
        else
            QTest::keyClick(&f.list, Qt::Key_F10, Qt::ShiftModifier);
        QVERIFY(f.openMenu());
        QVERIFY(f.list.viewport()->rect().contains(f.row(1)));
        const QPoint middle = f.list.viewport()->mapToGlobal(f.row(1).center());
        QVERIFY(f.openMenu()->geometry().adjusted(-1, -1, 1, 1).contains(middle));
        f.choose(u"Reproducir"_s);
        QCOMPARE(f.current(), u"b"_s);
    }

    void removalLeavesTheKeyboardAtTheNextRow()
    {
        ListFixture f;
        f.add("abc");
        f.list.setFocus();
        const auto removeAndTell = [&f] {
            QTest::keyClick(&f.list, Qt::Key_Delete);
            f.render();
            return f.list.currentIndex().data().toString();
        };
        QTest::keyClick(&f.list, Qt::Key_Down);
        QCOMPARE(removeAndTell(), u"c"_s);
        QCOMPARE(removeAndTell(), u"a"_s);
        QVERIFY(f.list.hasFocus());
    }

    void keyboardGoesWithWhatStandsInThePlaceOfTheList()
    {
        ListFixture f;
        f.view.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&f.view));
        f.add("a");
        f.list.setFocus();
        QTest::keyClick(&f.list, Qt::Key_Delete);
        f.render();
        const auto *invitation = qobject_cast<Button *>(QApplication::focusWidget());
        QVERIFY(invitation);
        QCOMPARE(invitation->text(), u"Seleccionar música…"_s);
        f.add("ab");
        QVERIFY(f.list.hasFocus());
        QCOMPARE(f.list.currentIndex().row(), 0);
    }

    void rowThatTakesOverTheKeyboardShowsIt()
    {
        ListFixture f;
        f.view.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&f.view));
        for (auto *button : f.view.findChildren<Button *>()) {
            if (button->text() == u"Seleccionar música…")
                button->setFocus();
        }
        f.add("ab");
        const QImage row = f.look(f.row(0));
        f.list.clearFocus();
        QVERIFY(f.look(f.row(0)) != row);
    }

    void keyboardArrivesAtARowInSight()
    {
        ListFixture f;
        f.add("abcdefghijklmnop");
        for (int value = 300; value < 375; ++value) {
            f.list.setCurrentIndex({});
            f.list.verticalScrollBar()->setValue(value);
            f.list.setFocus();
            QVERIFY(f.list.viewport()->rect().intersects(f.row(f.list.currentIndex().row())));
            QCOMPARE(f.list.verticalScrollBar()->value(), value);
            f.list.clearFocus();
        }
    }

    void keyboardArrivesAtTheCurrentTrackIfThatIsInSight()
    {
        ListFixture f;
        f.add("abc");
        f.player.next();
        f.render();
        f.list.setFocus();
        QCOMPARE(f.list.currentIndex().row(), 1);
    }

    void spaceTouchesNoRow()
    {
        ListFixture f;
        f.add("ab");
        f.list.setFocus();
        QTest::keyClick(&f.list, Qt::Key_Down);
        QTest::keyClick(&f.list, Qt::Key_Space);
        QCOMPARE(f.current(), u"a"_s);
        QVERIFY(!f.player.isPlaying());
        QCOMPARE(f.list.currentIndex().row(), 1);
    }

    void rowsLieTenFromTheEdgesAndFourApart()
    {
        ListFixture f;
        f.add("abcdefgh");
        QCOMPARE(f.list.viewport()->mapTo(&f.list, f.row(0).topLeft()), QPoint(10, 10));
        QCOMPARE(f.row(1).top() - f.row(0).bottom() - 1, 4);
        QCOMPARE(f.row(0).height(), 8 + 42 + 8);
        QCOMPARE(playlistRowHeight(30, 20), 8 + 30 + 3 + 20 + 8);
        const int right = f.list.viewport()->mapTo(&f.list, f.row(0).topRight()).x() + 1;
        QCOMPARE(f.list.width() - right, 10);

        f.list.verticalScrollBar()->setValue(f.list.verticalScrollBar()->maximum());
        QCOMPARE(f.list.viewport()->height() - f.row(7).bottom() - 1, 10);
    }

    void rowsOfAShortListAreNotScrolled()
    {
        ListFixture f;
        f.add("a");
        QCOMPARE(f.list.verticalScrollBar()->maximum(), 0);
    }

    void listStaysWhereItWasScrolled()
    {
        ListFixture f;
        f.add("abcdefghijklmnop");
        f.list.verticalScrollBar()->setValue(200);
        f.player.next();
        f.render();
        f.player.addFiles({f.url(u"zz.mp3"_s)});
        f.render();
        QCOMPARE(f.list.verticalScrollBar()->value(), 200);
    }

    void hundredThousandRowsAreOneInsertion()
    {
        ListFixture f;
        const QSignalSpy inserted(f.list.model(), &QAbstractItemModel::rowsInserted);
        f.player.playlist.mutate([](QList<Track> &tracks) {
            tracks.fill(Track(QUrl::fromLocalFile(u"/music/a.mp3"_s)), 100'000);
        });
        f.render();
        QCOMPARE(inserted.size(), 1);
        f.list.scrollToBottom();
        QCOMPARE(f.content(99'999).number, 100'000);
        const QImage number = f.look(f.row(99'999).adjusted(0, 0, 12 - f.row(0).width(), 0));
        bool isBesideItsPlace = false; // which is too narrow for it
        for (int y = 0; y < number.height(); ++y)
            isBesideItsPlace |=
                number.pixelColor(9, y).lightness() < number.pixelColor(0, 0).lightness() - 40;
        QVERIFY(isBesideItsPlace);
        QVERIFY(f.list.viewport()->rect().contains(f.row(99'999)));
    }

    void titleIsWrittenInItsOwnDirection()
    {
        ListFixture f;
        f.add("ab");
        f.changeTrack(1, [](Track &track) { track.title = u"\u05D0______"_s; });
        f.render();
        const QRect row = f.row(1);
        const QRect cover = f.coverOf(1);
        const QImage list = f.list.viewport()->grab().toImage();
        const int background = list.pixelColor(cover.right() + 3, row.top() + 3).lightness();
        const auto isInk = [&](int x) {
            for (int y = row.top() + 2; y < row.top() + 19; ++y) {
                if (list.pixelColor(x, y).lightness() < background - 60)
                    return true;
            }
            return false;
        };
        int letter = cover.right() + 3;
        while (letter < row.center().x() && !isInk(letter))
            ++letter;
        QVERIFY2(
            letter > cover.right() + 40 && letter < row.center().x(), qPrintable(QString::number(letter)));
    }

    void everyCoverThatShowsIsLoadedInThePixelsOfItsScreen()
    {
        ListFixture f;
        f.add("abcdefghijklmnop");
        f.view.hide();
        CoverFiles files;
        const auto blocking = files.artwork(Qt::white), red = files.artwork(Qt::red),
                   blue = files.artwork(Qt::blue);
        f.changeTrack(0, [&](Track &track) { track.artwork = red; });
        f.changeTrack(5, [&](Track &track) { track.artwork = blue; });
        f.render();
        ArtworkLoader loader;
        PlaylistView list(*qobject_cast<PlaylistModel *>(f.list.model()), loader);
        list.resize(720, 500);
        FaultyMedium medium(blocking->files().first().toLocalFile().toUtf8());
        medium.set(FaultyMedium::Fault::Silence);
        const QSignalSpy changes(&loader, &ArtworkLoader::changed);
        (void)loader.image(*blocking, {42, 42});
        QTRY_COMPARE(medium.faults(), 1); // from now on all others wait
        (void)list.grab(); // lays out the rows
        list.verticalScrollBar()->setValue(10 + 42 + 8 - 1); // of the first cover a line shows
        (void)list.grab();
        QTRY_COMPARE(changes.size(), 3); // placeholders, because they wait
        medium.set(FaultyMedium::Fault::None);
        QTRY_COMPARE(changes.size(), 6);
        const QSize pixels = QSize(42, 42) * list.devicePixelRatioF();
        for (const auto &cover : {red, blue})
            QVERIFY(!loader.image(*cover, pixels).image.isNull());
    }

    void coverThatIsAwaitedIsNoNote()
    {
        ListFixture f;
        f.add("ab");
        const QImage note = f.look(f.coverOf(1));
        CoverFiles files;
        const auto cover = files.artwork(Qt::red);
        FaultyMedium medium(cover->files().first().toLocalFile().toUtf8());
        medium.set(FaultyMedium::Fault::Silence);
        f.changeTrack(1, [&](Track &track) { track.artwork = cover; });
        f.render();
        QVERIFY(f.look(f.coverOf(1)) != note);
        QTRY_COMPARE(f.look(f.coverOf(1)), note);
    }

    void coverThatIsScrolledAwayIsNotLoadedAnyMore()
    {
        ListFixture f;
        f.add("abcdefghijklmnopqrstuvwxyz");
        f.view.hide();
        CoverFiles files;
        const auto blocking = files.artwork(Qt::white), red = files.artwork(Qt::red),
                   blue = files.artwork(Qt::blue), last = files.artwork(Qt::green);
        ArtworkLoader loader;
        PlaylistView list(*qobject_cast<PlaylistModel *>(f.list.model()), loader);
        FaultyMedium medium(blocking->files().first().toLocalFile().toUtf8());
        medium.set(FaultyMedium::Fault::Silence);
        (void)loader.image(*blocking, {42, 42});
        QTRY_COMPARE(medium.faults(), 1); // from now on all others wait

        f.changeTrack(0, [&](Track &track) { track.artwork = red; });
        f.changeTrack(25, [&](Track &track) { track.artwork = blue; });
        f.render();
        (void)list.grab();
        list.scrollToBottom();
        (void)list.grab();
        QSignalSpy changes(&loader, &ArtworkLoader::changed);
        medium.set(FaultyMedium::Fault::None);
        QTRY_VERIFY(!loader.image(*blue, {42, 42}).image.isNull());
        QTRY_VERIFY(!loader.image(*last, {42, 42}).image.isNull()); // behind all that waited
        for (const auto &change : std::as_const(changes))
            QVERIFY(change.first().value<Fingerprint>() != red->fingerprint());
    }

    void oddTitlesStayInTheirRows()
    {
        ListFixture f;
        f.add("abc");
        const QImage second = f.list.viewport()->grab(f.row(1)).toImage();
        f.changeTrack(0, [](Track &track) {
            track.title = u"<h1>uno</h1>\ndos\u202E"_s + QString(100'000, u'W');
            track.artist = u"مرحبا\n"_s.repeated(500);
        });
        f.render();
        QCOMPARE(f.row(0).height(), f.row(1).height());
        QCOMPARE(f.list.viewport()->grab(f.row(1)).toImage(), second);
    }
};

LUMAVERDINE_TEST(PlaylistViewTest)
#include "PlaylistViewTest.moc"
