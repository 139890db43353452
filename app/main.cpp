#include "app/LumaverdineApp.h"
#include "desktop/BringToFront.h"
#include "desktop/SettingsWatcher.h"
#include "desktop/XServer.h"
#include "files/ProgramId.h"
#include "files/StandardStreams.h"
#include "mpris/Mpris.h"
#include "ui/Translation.h"
#include "ui/drawing/Symbol.h"

#include <QApplication>
#include <QIcon>
#include <QTimer>
#include <chrono>
#include <cstdlib>
#include <string_view>

using namespace Qt::StringLiterals;
using namespace std::literals;

namespace {

// What follows need not hold up the content.
constexpr auto AfterFirstContent = 150ms;

/// If no session bus is named, only the user's own may be joined: the bus library would start one, and note it in a
/// file under the home folder.
void startNoSessionBus()
{
    if (qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS"))
        qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + qgetenv("XDG_RUNTIME_DIR") + "/bus");
}

/// Desktops would have theirs loaded, with all their libraries: as a platform theme and as a style of widgets. Only a
/// theme that the user names (QT_QPA_PLATFORMTHEME) is; a style, never.
void useNoDesktopsToolkit()
{
    QApplication::setDesktopSettingsAware(false);
    QApplication::setStyle(u"Fusion"_s); // until ours takes its place
}

QIcon programIcon()
{
    QIcon icon;
    for (const int pixels : {16, 32, 64}) // for lists of windows and for switchers
        icon.addPixmap(QPixmap::fromImage(programPicture(pixels)));
    return icon;
}

int run(int argc, char *argv[])
{
    guardStandardStreams();
    if (argc == 2 && argv[1] == "--version"sv) { // no other argument means anything
        printLine(QStringLiteral("lumaverdine " VERSION));
        return 0;
    }
    // Nothing of a run is kept for the next one, so there is no session to take part in.
    qunsetenv("SESSION_MANAGER");
    startNoSessionBus();

    QApplication::setApplicationName(u"lumaverdine"_s);
    QApplication::setDesktopFileName(QLatin1StringView(ProgramId));
    useNoDesktopsToolkit();
    QApplication application(argc, argv);

    SettingsWatcher desktop; // asks while the window is built
    QApplication::setWindowIcon(programIcon());
    const Translation translation;
    LumaverdineApp app;
    Mpris mpris(
        app.player(), [&app] { bringToFront(app.window()); }, [&app] { app.window().close(); });
    const Compositing compositing([&app](bool isOn) { app.setComposited(isOn); });
    app.showFollowing(desktop);
    QTimer::singleShot(AfterFirstContent, &mpris, &Mpris::start);
    return QApplication::exec();
}

} // namespace

int main(int argc, char *argv[])
{
    const int status = run(argc, argv);
    // A thread that a medium keeps waiting may still run: what it uses stays until the process is gone.
    std::quick_exit(status);
}
