#include "ui/SpokenTime.h"

#include <QStringList>
#include <cmath>

using namespace Qt::StringLiterals;

namespace {

QString counted(qint64 number, const QString &unit)
{
    return u"%1 %2%3"_s.arg(number).arg(unit, number == 1 ? u""_s : u"s"_s);
}

} // namespace

QString spokenTime(double seconds)
{
    const bool isSpeakable = std::isfinite(seconds) && seconds >= 0 && seconds < 0x1p63;
    const qint64 whole = isSpeakable ? static_cast<qint64>(seconds) : 0;
    QStringList parts;
    if (whole >= 60)
        parts << counted(whole / 60, u"minuto"_s);
    if (whole % 60 != 0 || whole < 60)
        parts << counted(whole % 60, u"segundo"_s);
    return parts.join(u' ');
}
