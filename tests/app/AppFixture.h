#pragma once

#include "app/LumaverdineApp.h"
#include "tests/player/FakeAudioPlayer.h"
#include "ui/Translation.h"

#include <QAction>
#include <QMenu>
#include <QMenuBar>
#include <QTest>

/// The program on a fake platform, its window shown and active.
struct AppFixture {
    FakePlatform platform;
    Translation translation;
    int windowMoves = 0; ///< how often the window system was asked to move the window
    LumaverdineApp app{platform.services(), {.startMove = [this](QWindow &) { return ++windowMoves > 0; }}};
    PlayerManager &player = app.player();
    FramelessWindow &window = app.window();

    AppFixture()
    {
        app.show();
        window.activateWindow();
        if (!QTest::qWaitForWindowActive(&window))
            qFatal("the window is not shown");
    }

    /// Admits files that do not exist, named by `names`; the first is loaded.
    void add(const QStringList &names)
    {
        QList<QUrl> urls;
        for (const QString &name : names)
            urls.append(QUrl::fromLocalFile(QStringLiteral("/music/") + name));
        player.addFiles(urls);
    }

    /// The menu at `position` of the menu bar.
    [[nodiscard]] QMenu &menu(qsizetype position) const
    {
        return *window.menuBar().actions().at(position)->menu();
    }

    /// Presses a key as the window system reports it: to the window, which finds the shortcut or the focus.
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) const
    {
        QTest::keyClick(window.windowHandle(), key, modifiers);
    }
};
