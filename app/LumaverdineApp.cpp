#include "app/LumaverdineApp.h"

#include "desktop/SettingsWatcher.h"
#include "ui/ContentView.h"
#include "ui/ProgramStyle.h"
#include "ui/controls/Menu.h"
#include "ui/drawing/Fonts.h"
#include "ui/drawing/Palettes.h"

#include <QApplication>
#include <QMenuBar>
#include <QScreen>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr QSize MinimumContentSize(720, 620);

/// Comes before any window, which would be drawn in another style at first.
ProgramStyle &installStyle()
{
    auto *style = new ProgramStyle;
    QApplication::setStyle(style);
    return *style;
}

/// Adds a command that is always enabled. A key that is held down counts once.
QAction *addCommand(QMenu &menu, const QString &title, const QKeySequence &shortcut)
{
    QAction *command = menu.addAction(title);
    command->setShortcut(shortcut);
    command->setAutoRepeat(false);
    return command;
}

QMenu &addMenu(QMenuBar &bar, const QString &title)
{
    auto *menu = new Menu(title, &bar);
    menu->setAccessibleName(title);
    bar.addMenu(menu);
    return *menu;
}

} // namespace

LumaverdineApp::LumaverdineApp(PlatformServices services, WindowSystem windowSystem)
    : m_style(installStyle())
    , m_player(std::move(services))
    , m_window(std::move(windowSystem))
{
    auto *content = new ContentView(m_player);
    content->setMinimumSize(MinimumContentSize);
    m_window.setWindowTitle(u"Lumaverdine"_s);
    m_window.setContent(content);
    m_window.menuBar().setAccessibleName(tr("Menú"));
    buildFileMenu();
    buildPlaybackMenu();
    for (const QAction *menu : m_window.menuBar().actions())
        m_window.addActions(menu->menu()->actions());
    // Once a turn of the event loop: from one track to the next, nothing changes.
    m_renderer.follow([this] {
        if (m_player.isPlaying() != static_cast<bool>(m_sleepInhibition))
            m_sleepInhibition = m_player.isPlaying() ? std::make_unique<SleepInhibition>() : nullptr;
    });
}

void LumaverdineApp::showFollowing(SettingsWatcher &desktop, std::chrono::milliseconds timeout)
{
    const auto follow = [this, isShown = false](const DesktopSettings &settings) mutable {
        this->follow(settings);
        if (!std::exchange(isShown, true))
            show();
    };
    desktop.follow(follow, timeout);
}

void LumaverdineApp::follow(const DesktopSettings &desktop)
{
    m_style.setAnimated(desktop.wantsAnimations);
    QApplication::setPalette({}); // the platform's own, which tells what the desktop does not
    QApplication::setPalette(windowPalette(desktop, QApplication::palette()));
    useFonts(desktop);
    const QSize least(textLength(MinimumContentSize.width()), textLength(MinimumContentSize.height()));
    m_window.setMinimumSize(
        least.boundedTo(m_window.screen()->availableSize()).expandedTo(MinimumContentSize));
    m_window.setButtonLayout(desktop.buttonLayout);
    // Windows would hear of both later, and be shown as they were until then.
    for (const auto change : {QEvent::ApplicationPaletteChange, QEvent::ApplicationFontChange})
        QCoreApplication::sendPostedEvents(nullptr, change);
}

void LumaverdineApp::setComposited(bool isComposited)
{
    m_style.setComposited(isComposited);
    m_window.setRound(isComposited);
}

void LumaverdineApp::buildFileMenu()
{
    QMenu &menu = addMenu(m_window.menuBar(), tr("Archivo"));
    const QAction *addMusic = addCommand(menu, tr("Añadir música…"), Qt::CTRL | Qt::Key_O);
    const QAction *quit = addCommand(menu, tr("Salir"), Qt::CTRL | Qt::Key_Q);
    QObject::connect(addMusic, &QAction::triggered, &m_player, [this] { m_player.showFileImporter = true; });
    QObject::connect(quit, &QAction::triggered, &m_window, &QWidget::close);
}

void LumaverdineApp::buildPlaybackMenu()
{
    QMenu &menu = addMenu(m_window.menuBar(), tr("Reproducción"));
    QAction *toggle = addCommand(menu, {}, Qt::Key_Space);
    const QAction *previous = addCommand(menu, tr("Canción anterior"), Qt::CTRL | Qt::Key_Left);
    const QAction *next = addCommand(menu, tr("Canción siguiente"), Qt::CTRL | Qt::Key_Right);
    QObject::connect(toggle, &QAction::triggered, &m_player, &PlayerManager::togglePlayback);
    QObject::connect(previous, &QAction::triggered, &m_player, &PlayerManager::previous);
    QObject::connect(next, &QAction::triggered, &m_player, &PlayerManager::next);
    m_renderer.follow(
        [this, toggle] { toggle->setText(m_player.isPlaying() ? tr("Pausar") : tr("Reproducir")); });
}
