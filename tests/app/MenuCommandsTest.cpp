#include "platform/files/FilePicker.h"
#include "tests/app/AppFixture.h"
#include "ui/ImportAlert.h"

using namespace Qt::StringLiterals;

class MenuCommandsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void menusHoldTheirCommandsInOrder()
    {
        const AppFixture f;
        QCOMPARE(f.window.menuBar().actions().size(), 2);
        QCOMPARE(f.menu(0).title(), u"Archivo"_s);
        QCOMPARE(titles(f.menu(0)), QStringList({u"Añadir música…"_s, u"Salir"_s}));
        QCOMPARE(f.menu(1).title(), u"Reproducción"_s);
        QCOMPARE(
            titles(f.menu(1)), QStringList({u"Reproducir"_s, u"Canción anterior"_s, u"Canción siguiente"_s}));
    }

    void commandsHaveTheirShortcuts()
    {
        const AppFixture f;
        QCOMPARE(shortcuts(f.menu(0)), QStringList({u"Ctrl+O"_s, u"Ctrl+Q"_s}));
        QCOMPARE(shortcuts(f.menu(1)), QStringList({u"Space"_s, u"Ctrl+Left"_s, u"Ctrl+Right"_s}));
    }

    void commandsAreEnabledAlsoOnAnEmptyPlaylist()
    {
        const AppFixture f;
        for (const QAction *command : f.menu(0).actions() + f.menu(1).actions())
            QVERIFY2(command->isEnabled(), qPrintable(command->text()));
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

    void previousAndNextChangeTheTrack()
    {
        AppFixture f;
        f.add({u"a.mp3"_s, u"b.mp3"_s, u"c.mp3"_s});
        f.menu(1).actions().at(2)->trigger();
        QCOMPARE(f.player.currentTrack()->title, u"b"_s);
        f.menu(1).actions().at(1)->trigger();
        QCOMPARE(f.player.currentTrack()->title, u"a"_s);
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

QTEST_MAIN(MenuCommandsTest)
#include "MenuCommandsTest.moc"
