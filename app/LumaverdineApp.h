#pragma once

#include "player/PayerManager.h"
#include "ui/ViewRenderer.h"

#include <QMainWindow>

class QAction;
class QMenu;

/// The program: the one player of the process, its one window, and the menu commands.
///
/// The player outlives the window. Closing the window ends the event loop. Main thread only.
class LumaverdineApp {
public:
    /// A player on the system's own services; tests pass fakes.
    explicit LumaverdineApp(PlatformServices services = {});

    void show();

    [[nodiscard]] PlayerManager &player() { return m_player; }
    [[nodiscard]] QMainWindow &window() { return m_window; }

private:
    void buildFileMenu();
    void buildPlaybackMenu();

    PlayerManager m_player;
    ViewRenderer m_renderer{m_player};
    QMainWindow m_window;
};
