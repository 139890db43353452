#include "ui/DisplayText.h"

#include <QCoreApplication>
#include <QStringList>
#include <limits>

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
    return character.isSpace() && character.category() != QChar::Separator_Space;
}

QString cutBeforeShaping(const QString &text)
{
    if (text.size() <= LongestShown)
        return text;
    const bool splitsPair = text.at(LongestShown).isLowSurrogate();
    return text.first(LongestShown - (splitsPair ? 1 : 0)) + u'…';
}

} // namespace

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
    const bool isSpeakable = seconds >= 0 && seconds < std::numeric_limits<int>::max();
    const int whole = isSpeakable ? static_cast<int>(seconds) : 0;
    // lupdate reads simple arguments only.
    const int minutes = whole / 60;
    const int rest = whole % 60;
    QStringList parts;
    if (minutes > 0)
        parts << QCoreApplication::translate("DisplayText", "%n minutos", nullptr, minutes);
    if (rest > 0 || minutes == 0)
        parts << QCoreApplication::translate("DisplayText", "%n segundos", nullptr, rest);
    return parts.join(u' ');
}
