#pragma once

#include "desktop/DesktopSettings.h"
#include "desktop/FramelessWindow.h"
#include "desktop/SleepInhibition.h"
#include "player/PayerManager.h"
#include "ui/ViewRenderer.h"

#include <QCoreApplication>
#include <chrono>
#include <memory>

class QAction;
class QMenu;
class ProgramStyle;
class SettingsWatcher;

/// The program: the one player of the process, its one window, and the menu commands.
///
/// The player outlives the window. Closing the window ends the event loop. Main thread only.
class LumaverdineApp {
    Q_DECLARE_TR_FUNCTIONS(LumaverdineApp)

public:
    /// A player and a window on the system's own services; tests pass fakes.
    explicit LumaverdineApp(PlatformServices services = {}, WindowSystem windowSystem = {});

    void show() { m_window.show(); }

    /// Shows the window, at its first paint as the user wants it: as soon as the desktop has told that, or after
    /// `timeout` with what is known. Follows the desktop, which has been asked already, from then on.
    void showFollowing(
        SettingsWatcher &desktop, std::chrono::milliseconds timeout = std::chrono::milliseconds(20));

    /// Makes the program as the user wants all programs of the desktop to be.
    void follow(const DesktopSettings &desktop);

    /// Rounds the corners of its windows if the window system can show what lies behind them.
    void setComposited(bool isComposited);

    [[nodiscard]] PlayerManager &player() { return m_player; }
    [[nodiscard]] FramelessWindow &window() { return m_window; }

private:
    void buildFileMenu();
    void buildPlaybackMenu();

    ProgramStyle &m_style; ///< of all windows; owned by the toolkit
    PlayerManager m_player;
    std::unique_ptr<SleepInhibition> m_sleepInhibition; ///< while sound plays
    ViewRenderer m_renderer{m_player};
    FramelessWindow m_window;
};
