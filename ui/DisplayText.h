#pragma once

#include <QFont>
#include <QList>
#include <QString>

/// The text of a tag as it can be drawn in a line: line breaks and tabs are spaces, other control characters
/// and the marks that open or close a writing direction are gone, and what no window is wide enough to show
/// is cut before anybody measures it.
[[nodiscard]] QString displayText(const QString &text);

/// The direction in which a text is written as a whole: that of its first letter that has one.
[[nodiscard]] Qt::LayoutDirection writingDirection(const QString &text);

/// A line of a text, without the blanks at its end, and where it starts in it.
struct TextLine {
    qsizetype start = 0;
    QString text;
};

/// The text broken at words into lines of at most `width` pixels; the last of `maximumLines` ends in an
/// ellipsis where the text goes on. At least one line, which may be empty. `maximumLines` of 0 means as many
/// as it takes.
[[nodiscard]] QList<TextLine> wrappedLines(
    const QString &text, const QFont &font, double width, int maximumLines);

/// A time in seconds as a person says it: "1 minuto 20 segundos". Fractions are dropped; "0 segundos" for a
/// negative or not finite time.
[[nodiscard]] QString spokenTime(double seconds);
