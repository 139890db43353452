#include "ui/controls/SelectableLabel.h"

#include "ui/controls/Menu.h"
#include "ui/drawing/Colors.h"

#include <QClipboard>
#include <QContextMenuEvent>
#include <QFontMetricsF>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QStyleHints>
#include <QTextBoundaryFinder>

using namespace Qt::StringLiterals;

SelectableLabel::SelectableLabel(const TextFont &font, Tone tone, int maximumLines)
    : Label(font, tone, maximumLines)
{
    setMouseTracking(true);
    setFocusPolicy(Qt::TabFocus);
}

void SelectableLabel::setText(const QString &text)
{
    if (text == this->text())
        return;
    const bool isAllSelected = m_anchor != m_end && selectedText() == this->text();
    Label::setText(text);
    setFocusPolicy(text.isEmpty() ? Qt::NoFocus : Qt::TabFocus);
    m_drag.reset();
    select(0, isAllSelected ? shownText().size() : 0);
}

SelectableLabel::Range SelectableLabel::selection() const
{
    return {std::min(m_anchor, m_end), std::max(m_anchor, m_end)};
}

QString SelectableLabel::selectedText() const
{
    const auto [start, end] = selection();
    return start == 0 && end == shownText().size() ? text() : shownText().sliced(start, end - start);
}

void SelectableLabel::selectAll()
{
    select(0, shownText().size());
}

void SelectableLabel::copy() const
{
    if (m_anchor != m_end)
        QGuiApplication::clipboard()->setText(selectedText());
}

void SelectableLabel::select(qsizetype anchor, qsizetype end)
{
    m_anchor = anchor;
    m_end = end;
    update();
}

SelectableLabel::Range SelectableLabel::unitAt(QPointF point) const
{
    if (m_drag == Unit::Text)
        return {0, shownText().size()};
    if (m_drag == Unit::Character)
        return {positionAt(point), positionAt(point)};
    const qsizetype position = positionAt(point, QTextLine::CursorOnCharacter);
    QTextBoundaryFinder word(QTextBoundaryFinder::Word, shownText());
    word.setPosition(position);
    const qsizetype start =
        word.isAtBoundary() ? position : std::max<qsizetype>(0, word.toPreviousBoundary());
    const qsizetype end = word.toNextBoundary();
    return {start, end < 0 ? shownText().size() : end};
}

bool SelectableLabel::isOverText(QPointF point) const
{
    for (int number = 0; number < lines().lineCount(); ++number) {
        if (lines().lineAt(number).naturalTextRect().contains(point))
            return true;
    }
    return false;
}

qsizetype SelectableLabel::positionAt(QPointF point, QTextLine::CursorPosition kind) const
{
    const int number = std::clamp(static_cast<int>(point.y()) / lineHeight(), 0, lines().lineCount() - 1);
    const int cursor = lines().lineAt(number).xToCursor(point.x(), kind);
    return cursor == lines().text().size() ? shownText().size() : cursor;
}

QList<QTextLayout::FormatRange> SelectableLabel::highlights() const
{
    const auto [start, end] = selection();
    const qsizetype last = lines().text().size();
    QTextLayout::FormatRange range;
    range.start = static_cast<int>(std::min(start, last));
    range.length = static_cast<int>(std::min(end, last)) - range.start;
    range.format.setBackground(accentColor(palette()));
    range.format.setForeground(onAccentColor(palette()));
    return {range};
}

void SelectableLabel::mousePressEvent(QMouseEvent *event)
{
    const bool isExtending = event->modifiers().testFlag(Qt::ShiftModifier);
    if (event->button() != Qt::LeftButton || !(isExtending || isOverText(event->position()))) {
        event->ignore();
        return;
    }
    setFocus(Qt::MouseFocusReason);
    m_drag = isThirdClick(*event) ? Unit::Text : Unit::Character;
    const bool isMovingEnd = isExtending && m_drag == Unit::Character;
    m_origin = isMovingEnd ? Range{m_anchor, m_anchor} : unitAt(event->position());
    dragTo(event->position());
}

bool SelectableLabel::isThirdClick(const QMouseEvent &event) const
{
    const QStyleHints &habits = *QGuiApplication::styleHints();
    const auto interval = static_cast<quint64>(habits.mouseDoubleClickInterval());
    return m_doubleClick && event.timestamp() - m_doubleClickTime < interval
        && (event.position() - *m_doubleClick).manhattanLength() <= habits.mouseDoubleClickDistance();
}

void SelectableLabel::mouseMoveEvent(QMouseEvent *event)
{
    if (!m_drag) {
        setCursor(isOverText(event->position()) ? Qt::IBeamCursor : Qt::ArrowCursor);
        event->ignore();
    } else {
        dragTo(event->position());
    }
}

void SelectableLabel::dragTo(QPointF point)
{
    const Range unit = unitAt(point);
    if (unit.start < m_origin.start)
        select(m_origin.end, unit.start);
    else
        select(m_origin.start, unit.end);
}

void SelectableLabel::mouseReleaseEvent(QMouseEvent *event)
{
    event->setAccepted(m_drag.has_value());
    m_drag.reset();
}

void SelectableLabel::mouseDoubleClickEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton || !isOverText(event->position())) {
        event->ignore();
        return;
    }
    m_drag = Unit::Word;
    m_origin = unitAt(event->position());
    dragTo(event->position());
    m_doubleClick = event->position();
    m_doubleClickTime = event->timestamp();
}

void SelectableLabel::contextMenuEvent(QContextMenuEvent *event)
{
    auto *menu = new Menu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->setAccessibleName(tr("Título"));
    QAction *copyAction = menu->addAction(tr("Copiar"), this, &SelectableLabel::copy);
    copyAction->setEnabled(m_anchor != m_end);
    menu->addAction(tr("Seleccionar todo"), this, &SelectableLabel::selectAll);
    menu->popup(event->globalPos());
    if (event->reason() == QContextMenuEvent::Keyboard)
        menu->goToFirst();
}

void SelectableLabel::keyPressEvent(QKeyEvent *event)
{
    if (event->matches(QKeySequence::Copy))
        copy();
    else if (event->matches(QKeySequence::SelectAll))
        selectAll();
    else
        event->ignore();
}

void SelectableLabel::focusInEvent(QFocusEvent *event)
{
    // The selection shows that the keyboard is here, and what it would copy.
    if (event->reason() == Qt::TabFocusReason || event->reason() == Qt::BacktabFocusReason)
        selectAll();
}

void SelectableLabel::focusOutEvent(QFocusEvent *event)
{
    if (event->reason() != Qt::PopupFocusReason && event->reason() != Qt::ActiveWindowFocusReason)
        select(0, 0);
}
