#include "ui/controls/Label.h"

#include "desktop/AccessibleFactory.h"
#include "ui/drawing/Colors.h"

#include <QFontMetricsF>
#include <QPainter>
#include <cmath>

namespace {

QColor toneColor(const QPalette &palette, Label::Tone tone)
{
    switch (tone) {
    case Label::Tone::Primary:
        return primaryColor(palette);
    case Label::Tone::Secondary:
        return secondaryColor(palette);
    case Label::Tone::Tertiary:
        return tertiaryColor(palette);
    }
    return {};
}

} // namespace

Label::Label(const QFont &font, Tone tone, int maximumLines)
    : m_tone(tone)
    , m_maximumLines(maximumLines)
{
    installAccessible<Label, QAccessibleWidget, QAccessible::StaticText>();
    setFont(font);
    // A fixed height would be that of one line.
    setSizePolicy(QSizePolicy::Preferred, maximumLines == 1 ? QSizePolicy::Fixed : QSizePolicy::Preferred);
}

void Label::setText(const QString &text)
{
    if (text == m_text)
        return;
    m_text = text;
    m_shown = displayText(text);
    setAccessibleName(text);
    breakLines();
    updateGeometry();
    update();
}

void Label::breakLines()
{
    m_lines = wrappedLines(m_shown, font(), width(), m_maximumLines);
}

int Label::lineHeight() const
{
    return qCeil(QFontMetricsF(font()).height());
}

QSize Label::sizeHint() const
{
    return {qCeil(QFontMetricsF(font()).horizontalAdvance(m_shown)), lineHeight()};
}

QSize Label::minimumSizeHint() const
{
    return {0, lineHeight()};
}

int Label::heightForWidth(int width) const
{
    return static_cast<int>(wrappedLines(m_shown, font(), width, m_maximumLines).size()) * lineHeight();
}

QPointF Label::origin(const TextLine &line, int number) const
{
    const double free = width() - QFontMetricsF(font()).horizontalAdvance(line.text);
    const double share = m_alignment.testFlag(Qt::AlignRight) ? 1
        : m_alignment.testFlag(Qt::AlignHCenter)              ? 0.5
                                                              : 0;
    return {std::max(0.0, free * share), static_cast<double>(number * lineHeight())};
}

void Label::resizeEvent(QResizeEvent *)
{
    breakLines();
}

void Label::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setPen(toneColor(palette(), m_tone));
    painter.setLayoutDirection(writingDirection(m_shown));
    for (int number = 0; number < m_lines.size(); ++number)
        drawLine(painter, m_lines.at(number), origin(m_lines.at(number), number));
}

void Label::drawLine(QPainter &painter, const TextLine &line, QPointF position)
{
    painter.drawText(position + QPointF(0, QFontMetricsF(font()).ascent()), line.text);
}
