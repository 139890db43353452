#include "ui/drawing/Symbol.h"

/// Draws the program's picture for those who show no SVG.    Usage: render-icon PIXELS FILE.png
int main(int argc, char *argv[])
{
    if (argc != 3)
        return 2;
    return programPicture(QByteArray(argv[1]).toInt()).save(QString::fromLocal8Bit(argv[2])) ? 0 : 1;
}
