#include "app/LumaverdineApp.h"

#include <QApplication>
#include <QIcon>
#include <QLibraryInfo>
#include <QTranslator>

using namespace Qt::StringLiterals;

int main(int argc, char *argv[])
{
    // Nothing of a run is kept for the next one, so there is no session to take part in.
    qunsetenv("SESSION_MANAGER");

    QApplication::setApplicationName(u"lumaverdine"_s);
    QApplication::setDesktopFileName(u"lumaverdine"_s);
    QApplication application(argc, argv);
    QApplication::setWindowIcon(QIcon(u":/lumaverdine.svg"_s));

    // The toolkit's own dialogs and menus speak the window's language, whatever the system's is.
    QTranslator spanish;
    if (spanish.load(u"qtbase_es"_s, QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
        QApplication::installTranslator(&spanish);

    LumaverdineApp app;
    app.show();
    return QApplication::exec();
}
