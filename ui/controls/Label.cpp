#include "ui/controls/Label.h"

#include "desktop/AccessibleFactory.h"
#include "ui/DisplayText.h"
#include "ui/drawing/Colors.h"

#include <QEvent>
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

Label::Label(const TextFont &font, Tone tone, int maximumLines)
    : m_textFont(font)
    , m_tone(tone)
    , m_maximumLines(maximumLines)
{
    installAccessible<Label, QAccessibleWidget, QAccessible::StaticText>();
    setFont(font);
    // A fixed height would be that of one line.
    setSizePolicy(QSizePolicy::Preferred, maximumLines == 1 ? QSizePolicy::Fixed : QSizePolicy::Preferred);
    layOut(m_layout, {}, 0, 0);
}

void Label::setText(const QString &text)
{
    if (text == m_text)
        return;
    m_text = text;
    m_shown = displayText(text);
    setAccessibleName(text);
    layOut(m_layout, m_shown, width(), m_maximumLines);
    updateGeometry();
    update();
}

int Label::lineHeight() const
{
    return qCeil(QFontMetricsF(font()).height());
}

QSize Label::sizeHint() const
{
    QTextLayout layout; // whose line may be wider than its letters are far: the last one leans out
    layOut(layout, m_shown, QWIDGETSIZE_MAX, 0);
    return {qCeil(layout.maximumWidth()), lineHeight()};
}

QSize Label::minimumSizeHint() const
{
    return {0, lineHeight()};
}

int Label::heightForWidth(int width) const
{
    QTextLayout layout;
    layOut(layout, m_shown, width, m_maximumLines);
    return layout.lineCount() * lineHeight();
}

/// `maximumLines` of 0 means as many as the text takes.
void Label::layOut(QTextLayout &layout, const QString &text, int width, int maximumLines) const
{
    QTextOption option(m_alignment | Qt::AlignAbsolute);
    option.setTextDirection(Qt::LayoutDirectionAuto);
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setTextOption(option);
    layout.setFont(font());
    layout.setText(text);
    layout.beginLayout();
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(width);
        line.setPosition(QPointF(0, line.lineNumber() * lineHeight()));
        if (line.lineNumber() + 1 == maximumLines) {
            const int start = line.textStart();
            const QString rest = QFontMetricsF(font()).elidedText(text.sliced(start), Qt::ElideRight, width);
            layout.endLayout();
            return layOut(layout, text.first(start) + rest, width, 0);
        }
    }
    layout.endLayout();
}

bool Label::event(QEvent *event)
{
    if (event->type() == QEvent::ApplicationFontChange)
        renewFont();
    return QWidget::event(event);
}

void Label::renewFont()
{
    setFont(m_textFont.renewed());
    if (m_textWidth > 0)
        setFixedWidth(textLength(m_textWidth));
}

void Label::setTextWidth(int pixels)
{
    m_textWidth = pixels;
    renewFont();
}

void Label::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::FontChange)
        layOut(m_layout, m_shown, width(), m_maximumLines);
    QWidget::changeEvent(event);
}

void Label::resizeEvent(QResizeEvent *)
{
    layOut(m_layout, m_shown, width(), m_maximumLines);
}

void Label::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setPen(toneColor(palette(), m_tone));
    m_layout.draw(&painter, {}, highlights());
}
