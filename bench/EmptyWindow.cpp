// The least that a window of this toolkit costs. Arguments: its width and height, and a line of text to show,
// if any.

#include <QApplication>
#include <QLabel>

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    const QStringList arguments = QApplication::arguments();
    if (arguments.size() < 3)
        qFatal("Usage: bench-empty-window WIDTH HEIGHT [TEXT]");
    QWidget window;
    window.resize(arguments[1].toInt(), arguments[2].toInt());
    if (arguments.size() > 3)
        new QLabel(arguments[3], &window);
    window.show();
    return QApplication::exec();
}
