#include "ui/DisplayText.h"

#include <QStringList>
#include <cmath>

using namespace Qt::StringLiterals;

namespace {

/// Wider than any screen in the narrowest letters.
constexpr qsizetype LongestShown = 2000;

/// The embeddings, overrides and isolates of the Unicode Bidirectional Algorithm (UAX #9, section 2): left
/// open, they would reach beyond the text.
bool isDirectionMark(QChar character)
{
    return (character >= u'\u202A' && character <= u'\u202E')
        || (character >= u'\u2066' && character <= u'\u2069');
}

bool isLineBreakOrTab(QChar character)
{
    return (character >= u'\t' && character <= u'\r') || character == u'\u0085' || character == u'\u2028'
        || character == u'\u2029';
}

QString cutBeforeShaping(const QString &text)
{
    if (text.size() <= LongestShown)
        return text;
    const bool splitsPair = text.at(LongestShown).isLowSurrogate();
    return text.first(LongestShown - (splitsPair ? 1 : 0)) + u'…';
}

QString counted(qint64 number, const QString &unit)
{
    return u"%1 %2%3"_s.arg(number).arg(unit, number == 1 ? u""_s : u"s"_s);
}

} // namespace

Qt::LayoutDirection writingDirection(const QString &text)
{
    return text.isRightToLeft() ? Qt::RightToLeft : Qt::LeftToRight;
}

QString displayText(const QString &text)
{
    QString shown = cutBeforeShaping(text);
    shown.replace(u"\r\n"_s, u" "_s);
    for (QChar &character : shown) {
        if (isLineBreakOrTab(character))
            character = u' ';
    }
    shown.removeIf([](QChar c) { return c.category() == QChar::Other_Control || isDirectionMark(c); });
    return shown;
}

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
