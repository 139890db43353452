#include "tests/PaintCount.h"
#include "tests/TaggedFile.h"
#include "tests/TestProgram.h"
#include "tests/ui/ViewFixture.h"
#include "ui/controls/Cover.h"
#include "ui/controls/SelectableLabel.h"
#include "ui/drawing/Colors.h"

#include <QClipboard>
#include <QContextMenuEvent>
#include <QMenu>
#include <QStyleHints>

using namespace Qt::StringLiterals;

namespace {

/// The texts of the row beside the cover: title, artist, album and position.
QStringList information(const ViewFixture &f)
{
    return f.texts().first(4);
}

SelectableLabel &titleOf(const ViewFixture &f)
{
    return *f.view.findChild<SelectableLabel *>();
}

/// A picture of three vertical bands: blue, red in the middle half, blue.
QByteArray widePicture()
{
    QImage image(400, 100, QImage::Format_RGB32);
    image.fill(Qt::blue);
    for (int y = 0; y < 100; ++y) {
        for (int x = 100; x < 300; ++x)
            image.setPixelColor(x, y, Qt::red);
    }
    return encoded(image, "PNG");
}

const QString LongTitle = u"Una canción muy larga "_s.repeated(20);

/// Moves the mouse over a piece with the left button down.
void moveHolding(QWidget &piece, QPoint place)
{
    QMouseEvent move(
        QEvent::MouseMove, place, piece.mapToGlobal(place), Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&piece, &move);
}

} // namespace

class NowPlayingTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void withoutATrackItShowsItsPlaceholders()
    {
        const ViewFixture f;
        QCOMPARE(information(f),
            QStringList({u"Sin reproducción"_s, u"Añade música para comenzar"_s, u"La playlist está vacía"_s,
                u"Sin canciones"_s}));
    }

    void trackIsShownWithItsPlaceCountedFromOne()
    {
        ViewFixture f;
        f.add("abcde");
        QCOMPARE(information(f),
            QStringList({u"a"_s, u"Artista desconocido"_s, u"Álbum desconocido"_s, u"Canción 1 de 5"_s}));
        f.player.load(f.track(2));
        f.render();
        QCOMPARE(information(f).first(), u"c"_s);
        QCOMPARE(information(f).last(), u"Canción 3 de 5"_s);
    }

    void placeFollowsTheList()
    {
        ViewFixture f;
        f.add("abc");
        f.player.load(f.track(2));
        f.player.removeTrack(f.track(0));
        f.render();
        QCOMPARE(information(f).last(), u"Canción 2 de 2"_s);
    }

    void emptyTextsOfATrackAreShownAsTheyAre()
    {
        ViewFixture f;
        f.add("a");
        Track track = f.track(0);
        track.title = track.artist = track.album = QString();
        f.player.currentTrack = track;
        f.render();
        QCOMPARE(information(f), QStringList({u""_s, u""_s, u""_s, u"Canción 1 de 1"_s}));
    }

    void trackThatIsNoLongerListedHasNoPlace()
    {
        ViewFixture f;
        f.add("ab");
        f.player.playlist.mutate([](QList<Track> &tracks) { tracks.removeFirst(); });
        f.render();
        QCOMPARE(information(f).first(), u"a"_s);
        QCOMPARE(information(f).last(), u"Sin canciones"_s);
    }

    void longTitleEndsAfterTwoLinesTheOthersAfterOne()
    {
        ViewFixture f;
        f.showTrackCalled(LongTitle);
        const QList<Label *> labels = f.view.findChildren<Label *>();
        for (const auto &[label, lines] :
            {std::pair(labels[0], 2), std::pair(labels[1], 1), std::pair(labels[2], 1)}) {
            QCOMPARE(shownLines(*label).size(), lines);
            QVERIFY(shownLines(*label).last().endsWith(u'…'));
            QCOMPARE(label->text(), LongTitle);
        }
    }

    void titleTakesTheRoomOfTheLinesItHas()
    {
        ViewFixture f;
        f.add("a");
        f.render();
        const int oneLine = titleOf(f).height();
        f.showTrackCalled(LongTitle);
        QTRY_COMPARE(titleOf(f).height(), 2 * oneLine);
    }

    void titleCanBeSelectedWithTheMouseAndCopied()
    {
        ViewFixture f;
        f.showTrackCalled(u"Canción de prueba"_s);
        SelectableLabel &title = titleOf(f);
        QTest::mousePress(&title, Qt::LeftButton, {}, QPoint(0, 10));
        QTest::mouseMove(&title, QPoint(title.width() - 1, 10));
        QTest::mouseRelease(&title, Qt::LeftButton, {}, QPoint(title.width() - 1, 10));
        QCOMPARE(title.selectedText(), u"Canción de prueba"_s);
        QTest::keyClick(&title, Qt::Key_C, Qt::ControlModifier);
        QCOMPARE(QGuiApplication::clipboard()->text(), u"Canción de prueba"_s);
    }

    void titleCanBeCopiedWithTheKeyboardAlone()
    {
        ViewFixture f;
        f.showTrackCalled(LongTitle);
        f.view.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&f.view));
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        QCOMPARE(QApplication::focusWidget(), &titleOf(f));
        QCOMPARE(titleOf(f).selectedText(), LongTitle);
        QTest::keyClick(&titleOf(f), Qt::Key_C, Qt::ControlModifier);
        QCOMPARE(QGuiApplication::clipboard()->text(), LongTitle);
        QTest::keyClick(&titleOf(f), Qt::Key_Tab);
        QCOMPARE(titleOf(f).selectedText(), QString());
    }

    void doubleClickSelectsAWord()
    {
        ViewFixture f;
        f.showTrackCalled(u"Canción de prueba"_s);
        QTest::mouseDClick(&titleOf(f), Qt::LeftButton, {}, QPoint(20, 10));
        QCOMPARE(titleOf(f).selectedText(), u"Canción"_s);
    }

    void doubleClickOnTheLastLetterSelectsItsWord()
    {
        ViewFixture f;
        f.showTrackCalled(u"Canción de prueba"_s);
        const QFontMetrics metrics(titleOf(f).font());
        const int x = metrics.horizontalAdvance(u"Canción"_s) - 2;
        QTest::mouseDClick(&titleOf(f), Qt::LeftButton, {}, QPoint(x, 10));
        QCOMPARE(titleOf(f).selectedText(), u"Canción"_s);
    }

    void dragAfterADoubleClickSelectsByWords()
    {
        ViewFixture f;
        f.showTrackCalled(u"Alba en el río"_s);
        SelectableLabel &title = titleOf(f);
        const QFontMetrics metrics(title.font());
        const auto x = [&](const QString &before) { return metrics.horizontalAdvance(before) + 6; };
        QTest::mouseDClick(&title, Qt::LeftButton, {}, {x(u"Alba "_s), 10});
        const auto selectedAfter = [&](QPoint place) {
            moveHolding(title, place);
            return title.selectedText();
        };
        QCOMPARE(selectedAfter({x(u"Alba "_s) + 4, 12}), u"en"_s);
        QCOMPARE(selectedAfter({x(u"Alba "_s) - 4, 12}), u"en"_s);
        QCOMPARE(selectedAfter({x(u"Alba en "_s), 10}), u"en el"_s);
        QCOMPARE(selectedAfter({x(u"A"_s), 10}), u"Alba en"_s);
        QTest::mouseRelease(&title, Qt::LeftButton, {}, {0, 10});
        QTest::mousePress(&title, Qt::LeftButton, {}, {1, 10});
        QCOMPARE(selectedAfter({x(u"Alba en"_s) - 6, 10}), u"Alba en"_s);
        QCOMPARE(selectedAfter({metrics.horizontalAdvance(u"Al"_s), 10}), u"Al"_s);
    }

    void thirdClickSelectsAll_data()
    {
        QTest::addColumn<int>("pause"); // milliseconds from the second click
        QTest::addColumn<int>("way"); // points
        QTest::addColumn<bool>("isAll");
        QTest::newRow("at once") << 100 << 0 << true;
        QTest::newRow("a little off") << 100 << 4 << true;
        const int interval = QGuiApplication::styleHints()->mouseDoubleClickInterval();
        QTest::newRow("just in time") << interval - 1 << 0 << true;
        QTest::newRow("too late") << interval << 0 << false;
        QTest::newRow("elsewhere") << 100 << 40 << false;
    }

    void thirdClickSelectsAll()
    {
        QFETCH(const int, pause);
        QFETCH(const int, way);
        QFETCH(const bool, isAll);
        ViewFixture f;
        f.showTrackCalled(LongTitle);
        SelectableLabel &title = titleOf(f);
        const auto click = [&](QEvent::Type type, QPoint place, quint64 time) {
            QMouseEvent event(
                type, place, title.mapToGlobal(place), Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
            event.setTimestamp(time);
            QCoreApplication::sendEvent(&title, &event);
        };
        click(QEvent::MouseButtonDblClick, {20, 10}, 1000);
        click(QEvent::MouseButtonRelease, {20, 10}, 1050);
        const auto time = 1000 + static_cast<quint64>(pause);
        click(QEvent::MouseButtonPress, {20 + way, 10}, time);
        QCOMPARE(title.selectedText(), isAll ? LongTitle : QString());
        if (!isAll)
            return;
        moveHolding(title, {60, 10});
        click(QEvent::MouseButtonRelease, {60, 10}, time + 50);
        QCOMPARE(title.selectedText(), LongTitle);
        moveHolding(title, {20, 10}); // with nothing held any more
        QCOMPARE(title.cursor().shape(), Qt::IBeamCursor);
    }

    void beamShowsOverTheTextOnly()
    {
        ViewFixture f;
        f.showTrackCalled(u"Alba"_s);
        SelectableLabel &title = titleOf(f);
        const int width = QFontMetrics(title.font()).horizontalAdvance(u"Alba"_s);
        const auto cursorAt = [&title](QPoint place) {
            QMouseEvent move(QEvent::MouseMove, place, title.mapToGlobal(place), Qt::NoButton, Qt::NoButton,
                Qt::NoModifier);
            QCoreApplication::sendEvent(&title, &move);
            return title.cursor().shape();
        };
        QVERIFY(title.hasMouseTracking());
        QCOMPARE(cursorAt({width - 2, 10}), Qt::IBeamCursor);
        QCOMPARE(cursorAt({width + 2, 10}), Qt::ArrowCursor);
        f.showTrackCalled(LongTitle);
        QVERIFY(shownLines(title).size() == 2);
        const int second = QFontMetrics(title.font()).horizontalAdvance(shownLines(title).at(1));
        QCOMPARE(cursorAt({second - 2, title.height() - 5}), Qt::IBeamCursor);
        QCOMPARE(cursorAt({width + 2, 10}), Qt::IBeamCursor);
    }

    void clickOnTheBlankLeavesTheSelectionAndTheFocusAlone()
    {
        ViewFixture f;
        f.view.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&f.view));
        f.showTrackCalled(u"Alba"_s);
        SelectableLabel &title = titleOf(f);
        for (const int x : {title.width() - 1, 5}) {
            QTest::mouseClick(&title, Qt::LeftButton, {}, {x, 10});
            QCOMPARE(title.hasFocus(), x == 5);
        }
        title.selectAll();
        QTest::mouseClick(&title, Qt::LeftButton, {}, {title.width() - 1, 10});
        QTest::mouseDClick(&title, Qt::LeftButton, {}, {title.width() - 1, 10});
        QCOMPARE(title.selectedText(), u"Alba"_s);
    }

    void copyOfACutTitleIsWhole()
    {
        ViewFixture f;
        const QString title = u"Una canción muy larga\n"_s.repeated(20);
        f.showTrackCalled(title);
        titleOf(f).selectAll();
        titleOf(f).copy();
        QCOMPARE(QGuiApplication::clipboard()->text(), title);
    }

    void onlyItsOwnKeysSelectAndCopy()
    {
        ViewFixture f;
        f.showTrackCalled(u"Canción de prueba"_s);
        SelectableLabel &title = titleOf(f);
        QGuiApplication::clipboard()->clear();
        QTest::keyClick(&title, Qt::Key_X, Qt::ControlModifier);
        QCOMPARE(title.selectedText(), QString());
        QTest::keyClick(&title, Qt::Key_A, Qt::ControlModifier);
        QCOMPARE(title.selectedText(), u"Canción de prueba"_s);
        QTest::keyClick(&title, Qt::Key_X, Qt::ControlModifier);
        QCOMPARE(QGuiApplication::clipboard()->text(), QString());
        QKeyEvent space(QEvent::KeyPress, Qt::Key_Space, Qt::NoModifier);
        QCoreApplication::sendEvent(&title, &space);
        QVERIFY(!space.isAccepted());
    }

    void selectionStandsOnTheAccentInEachOfItsLines()
    {
        ViewFixture f;
        f.showTrackCalled(LongTitle);
        SelectableLabel &title = titleOf(f);
        QTRY_COMPARE(title.height(), title.heightForWidth(title.width()));
        const int half = title.height() / 2;
        const auto isSelectedAt = [&](QPoint place) {
            const QColor color = title.grab().toImage().pixelColor(place);
            return color == accentColor(title.palette());
        };
        // From the middle of the first line to that of the second.
        const int middle = title.width() / 2;
        QTest::mousePress(&title, Qt::LeftButton, {}, {middle, half / 2});
        PaintCount paints({&title});
        moveHolding(title, {middle, half + half / 2});
        QTRY_VERIFY(paints.count > 0);
        QTest::mouseRelease(&title, Qt::LeftButton, {}, {middle, half + half / 2});
        const int blank = 1; // above all letters
        QVERIFY(!isSelectedAt({middle - 40, blank}));
        QVERIFY(isSelectedAt({middle + 40, blank}));
        QVERIFY(isSelectedAt({middle - 40, half + blank}));
        QVERIFY(!isSelectedAt({middle + 40, half + blank}));
    }

    void shiftAndAClickExtendTheSelection()
    {
        ViewFixture f;
        f.showTrackCalled(u"Alba en el río"_s);
        QTest::mouseClick(&titleOf(f), Qt::LeftButton, {}, {0, 10});
        QTest::mouseClick(&titleOf(f), Qt::LeftButton, Qt::ShiftModifier, {titleOf(f).width() - 1, 10});
        QCOMPARE(titleOf(f).selectedText(), u"Alba en el río"_s);
        QTest::mouseClick(&titleOf(f), Qt::LeftButton, Qt::ShiftModifier, {0, 10}); // back where it began
        QCOMPARE(titleOf(f).selectedText(), QString());
    }

    void menuOfTheTitleSelectsAllAndCopies()
    {
        ViewFixture f;
        f.showTrackCalled(u"Alba en el río"_s);
        const auto openMenu = [&f] {
            QContextMenuEvent event(QContextMenuEvent::Mouse, {5, 5}, titleOf(f).mapToGlobal(QPoint(5, 5)));
            QCoreApplication::sendEvent(&titleOf(f), &event);
            return qobject_cast<QMenu *>(QApplication::activePopupWidget());
        };
        QMenu *menu = openMenu();
        QVERIFY(menu);
        QCOMPARE(menu->accessibleName(), u"Título"_s);
        QCOMPARE(menu->actions().at(0)->text(), u"Copiar"_s);
        QVERIFY(!menu->actions().at(0)->isEnabled());
        QCOMPARE(menu->actions().at(1)->text(), u"Seleccionar todo"_s);
        menu->actions().at(1)->trigger();
        menu->close();
        QCOMPARE(titleOf(f).selectedText(), u"Alba en el río"_s);

        QGuiApplication::clipboard()->clear();
        menu = openMenu();
        QVERIFY(menu->actions().at(0)->isEnabled());
        menu->actions().at(0)->trigger();
        menu->close();
        QCOMPARE(QGuiApplication::clipboard()->text(), u"Alba en el río"_s);

        QContextMenuEvent byKey(QContextMenuEvent::Keyboard, {5, 5}, titleOf(f).mapToGlobal(QPoint(5, 5)));
        QCoreApplication::sendEvent(&titleOf(f), &byKey);
        menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
        QVERIFY(menu);
        QCOMPARE(menu->activeAction(), menu->actions().first());
        menu->close();
    }

    void selectionGoesWithTheFocusButNotForAMenuOrAnotherWindow()
    {
        ViewFixture f;
        f.showTrackCalled(u"Alba en el río"_s);
        titleOf(f).selectAll();
        for (const auto reason : {Qt::PopupFocusReason, Qt::ActiveWindowFocusReason, Qt::TabFocusReason}) {
            QFocusEvent out(QEvent::FocusOut, reason);
            QCoreApplication::sendEvent(&titleOf(f), &out);
            QCOMPARE(titleOf(f).selectedText().isEmpty(), reason == Qt::TabFocusReason);
        }
    }

    void partOfATitleIsNotSelectedInTheNextOne()
    {
        ViewFixture f;
        f.showTrackCalled(u"Alba en el río"_s);
        QTest::mouseDClick(&titleOf(f), Qt::LeftButton, {}, {5, 5});
        QCOMPARE(titleOf(f).selectedText(), u"Alba"_s);
        QTest::mousePress(&titleOf(f), Qt::LeftButton, {}, {60, 5});
        f.showTrackCalled(u"Marea baja"_s);
        QTest::mouseMove(&titleOf(f), {titleOf(f).width() - 1, 5});
        QCOMPARE(titleOf(f).selectedText(), QString());
        QTest::mouseRelease(&titleOf(f), Qt::LeftButton, {}, {60, 5});
    }

    void titleThatIsSelectedAsAWholeStaysSoWithTheNextTrack()
    {
        ViewFixture f;
        for (const QString &text : {u"Alba en el río"_s, LongTitle, u"Marea baja"_s}) {
            f.showTrackCalled(text);
            if (titleOf(f).selectedText().isEmpty())
                titleOf(f).selectAll();
            QCOMPARE(titleOf(f).selectedText(), text);
        }
    }

    void emptyTitleIsNoStopOfTheTabKey()
    {
        ViewFixture f;
        f.showTrackCalled(QString());
        QVERIFY(!(titleOf(f).focusPolicy() & Qt::TabFocus));
        f.showTrackCalled(u"a"_s);
        QVERIFY(titleOf(f).focusPolicy() & Qt::TabFocus);
    }

    void wideCoverFillsTheSquareAndIsCropped()
    {
        ViewFixture f;
        CoverFiles files;
        Track track(f.url(u"a.mp3"_s));
        track.artwork = files.artwork(widePicture());
        QVERIFY(track.artwork);
        f.player.load(track, false);
        auto &cover = *f.view.findChild<Cover *>();
        QTRY_COMPARE(cover.grab().toImage().pixelColor(95, 95), QColor(Qt::red));
        const QImage shown = cover.grab().toImage();
        for (const QPoint point : {QPoint(4, 95), QPoint(186, 95), QPoint(95, 4), QPoint(95, 186)}) {
            const QColor color = shown.pixelColor(point);
            QVERIFY2(color.red() > 200 && color.blue() < 60, qPrintable(color.name()));
        }
    }

    void trackWithoutACoverShowsThePlaceholder()
    {
        ViewFixture f;
        const QImage empty = f.view.findChild<Cover *>()->grab().toImage();
        f.add("a");
        f.player.play();
        f.render();
        QTRY_VERIFY(!f.view.findChild<Cover *>()->isFading());
        QCOMPARE(f.view.findChild<Cover *>()->grab().toImage(), empty);
        QCOMPARE(f.view.findChild<Cover *>()->size(), QSize(190, 190));
    }
};

LUMAVERDINE_TEST(NowPlayingTest)
#include "NowPlayingTest.moc"
