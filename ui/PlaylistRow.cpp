#include "ui/PlaylistRow.h"

#include <QStringList>

using namespace Qt::StringLiterals;

QString PlaylistRow::spoken() const
{
    QStringList parts{title, artist, length};
    if (isCurrent())
        parts << u"actual"_s << (marker == Marker::Playing ? u"reproduciendo"_s : u"en pausa"_s);
    return parts.join(u", "_s);
}
