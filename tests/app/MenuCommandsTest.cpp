#include "desktop/FilePicker.h"
#include "tests/TestProgram.h"
#include "tests/app/AppFixture.h"
#include "tests/player/Journal.h"
#include "ui/ImportAlert.h"

using namespace Qt::StringLiterals;

class MenuCommandsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void menusHoldTheirCommandsInOrder()
    {
        const AppFixture f;
        QCOMPARE(f.window.menuBar().actions().size(), 2);
        QCOMPARE(f.window.menuBar().accessibleName(), u"Menú"_s);
        for (const int position : {0, 1})
            QCOMPARE(f.menu(position).accessibleName(), f.menu(position).title());
        QCOMPARE(f.menu(0).title(), u"Archivo"_s);
        QCOMPARE(titles(f.menu(0)), QStringList({u"Añadir música…"_s, u"Salir"_s}));
        QCOMPARE(f.menu(1).title(), u"Reproducción"_s);
        QCOMPARE(
            titles(f.menu(1)), QStringList({u"Reproducir"_s, u"Canción anterior"_s, u"Canción siguiente"_s}));
    }

    void menusLieInTheWindowIfItHasRoom()
    {
        const AppFixture f;
        for (const auto &[layout, left] :
            {std::pair(u":close"_s, 0), {u"close:"_s, 0}, {u"close:"_s, -600}}) {
            f.window.setButtonLayout(ButtonLayout::parse(layout));
            f.window.move(left, 0);
            QTRY_COMPARE(f.window.pos(), QPoint(left, 0));
            for (const int position : {0, 1}) {
                f.window.menuBar().setActiveAction(f.menu(position).menuAction());
                const QRect menu = f.menu(position).geometry();
                QVERIFY(f.menu(position).isVisible() && f.window.screen()->geometry().contains(menu));
                QVERIFY(left < 0 || f.window.geometry().contains(menu));
                f.menu(position).close();
            }
        }
    }

    void commandsHaveTheirShortcuts()
    {
        const AppFixture f;
        QCOMPARE(shortcuts(f.menu(0)), QStringList({u"Ctrl+O"_s, u"Ctrl+Q"_s}));
        QCOMPARE(shortcuts(f.menu(1)), QStringList({u"Space"_s, u"Ctrl+Left"_s, u"Ctrl+Right"_s}));
    }

    void commandsAreEnabledAlsoOnAnEmptyPlaylistAndCountOnceWhenHeld()
    {
        const AppFixture f;
        for (const QAction *command : f.menu(0).actions() + f.menu(1).actions()) {
            QVERIFY2(command->isEnabled(), qPrintable(command->text()));
            QVERIFY2(!command->autoRepeat(), qPrintable(command->text()));
        }
    }

    void firstPlaybackCommandNamesWhatItWillDo()
    {
        AppFixture f;
        f.add({u"a.mp3"_s});
        QAction *toggle = f.menu(1).actions().first();
        toggle->trigger();
        QTRY_COMPARE(toggle->text(), u"Pausar"_s);
        toggle->trigger();
        QTRY_COMPARE(toggle->text(), u"Reproducir"_s);
    }

    void itsTitleFollowsThePlayerWhoeverChangesIt()
    {
        AppFixture f;
        f.add({u"a.mp3"_s});
        f.player.play();
        QTRY_COMPARE(f.menu(1).actions().first()->text(), u"Pausar"_s);
        f.player.clearPlaylist();
        QTRY_COMPARE(f.menu(1).actions().first()->text(), u"Reproducir"_s);
    }

    void eachCommandDoesOneThing_data()
    {
        QTest::addColumn<int>("menu");
        QTest::addColumn<int>("command");
        QTest::addColumn<QString>("first");
        QTest::addColumn<QString>("again");
        const auto load = [](QChar name, QChar former) {
            return u"open %1, %1 delegate, %1 volume 0.75, %1 prepare, %2 gone, currentTrack %1, same, same, "_s
                .arg(name, former);
        };
        const QString first = u" play, isPlaying true, timer on"_s, again = u" play, same, timer on"_s;
        QTest::newRow("add music") << 0 << 0 << u"showFileImporter true"_s << u"same"_s;
        QTest::newRow("play or pause")
            << 1 << 0 << u"a"_s + first << u"a pause, isPlaying false, timer off, same, same"_s;
        QTest::newRow("previous") << 1 << 1 << load(u'c', u'a') + u'c' + first
                                  << u"timer off, "_s + load(u'b', u'c') + u'b' + again;
        QTest::newRow("next") << 1 << 2 << load(u'b', u'a') + u'b' + first
                              << u"timer off, "_s + load(u'c', u'b') + u'c' + again;
    }
    void eachCommandDoesOneThing()
    {
        QFETCH(int, menu);
        QFETCH(int, command);
        AppFixture f;
        f.add({u"a.mp3"_s, u"b.mp3"_s, u"c.mp3"_s});
        Journal journal(f.platform, f.player);
        QAction *action = f.menu(menu).actions().at(command);
        QTEST(journal.record([&] { action->trigger(); }), "first");
        if (menu == 0) // asks the window system to show what is open
            QTest::ignoreMessage(QtWarningMsg, "This plugin does not support raise()");
        QTEST(journal.record([&] { action->trigger(); }), "again");
        QVERIFY(f.window.isVisible());
    }

    void quitClosesTheWindowAndLeavesThePlayerAlone()
    {
        AppFixture f;
        f.add({u"a.mp3"_s});
        f.player.play();
        Journal journal(f.platform, f.player);
        QCOMPARE(journal.record([&] { f.menu(0).actions().at(1)->trigger(); }), QString());
        QVERIFY(!f.window.isVisible());
    }

    void addMusicAsksForFilesWhateverThePlayerDoes()
    {
        AppFixture f;
        f.press(Qt::Key_O, Qt::ControlModifier);
        QVERIFY(f.player.showFileImporter());

        f.player.showFileImporter = false;
        f.add({u"a.mp3"_s});
        f.player.play();
        f.window.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&f.window));
        f.press(Qt::Key_O, Qt::ControlModifier);
        QVERIFY(f.player.showFileImporter());
        QVERIFY(f.player.isPlaying());
    }

    void commandsWorkInTheAlertAsInTheWindow()
    {
        AppFixture f;
        f.add({u"a.mp3"_s, u"b.mp3"_s});
        Q_EMIT f.window.findChild<FilePicker *>()->completed(Error{u"uno"_s});
        QTRY_VERIFY(f.window.findChild<ImportAlert *>());
        auto &alert = *f.window.findChild<ImportAlert *>();
        alert.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&alert));
        const auto press = [&](Qt::Key key, Qt::KeyboardModifiers modifiers) {
            QTest::keyClick(alert.windowHandle(), key, modifiers);
        };
        press(Qt::Key_Space, Qt::NoModifier);
        QVERIFY(f.player.isPlaying());
        press(Qt::Key_Right, Qt::ControlModifier);
        QCOMPARE(f.player.currentTrack()->title, u"b"_s);
        QVERIFY(alert.isVisible());
        press(Qt::Key_O, Qt::ControlModifier);
        QVERIFY(f.player.showFileImporter());
    }

private:
    static QStringList titles(const QMenu &menu)
    {
        QStringList titles;
        for (const QAction *command : menu.actions())
            titles.append(command->text());
        return titles;
    }

    static QStringList shortcuts(const QMenu &menu)
    {
        QStringList shortcuts;
        for (const QAction *command : menu.actions())
            shortcuts.append(command->shortcut().toString(QKeySequence::PortableText));
        return shortcuts;
    }
};

LUMAVERDINE_TEST(MenuCommandsTest)
#include "MenuCommandsTest.moc"
