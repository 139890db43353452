#pragma once

#include "ui/controls/Label.h"

#include <optional>

/// A label whose text can be selected with the mouse, or as a whole with the Tab key, and copied. A selection
/// that reaches the end of the last line reaches the end of the text, even if an ellipsis hides it.
///
/// A double click selects a word and goes on by words while the mouse is dragged; a third click selects all. The blank
/// beside the text leaves the mouse alone.
class SelectableLabel : public Label {
    Q_OBJECT

public:
    SelectableLabel(const TextFont &font, Tone tone, int maximumLines);

    /// Selects as much of the new text as of the former one, if that was all or nothing; otherwise nothing.
    void setText(const QString &text) override;

    [[nodiscard]] QString selectedText() const;
    void selectAll();
    void copy() const; ///< puts the selected text, if any, on the clipboard

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;

private:
    /// What a click selects at least, and a drag takes or leaves as a whole.
    enum class Unit { Character, Word, Text };

    /// From the first of its characters to behind its last.
    struct Range {
        qsizetype start = 0;
        qsizetype end = 0;
    };

    [[nodiscard]] QList<QTextLayout::FormatRange> highlights() const override;
    [[nodiscard]] bool isOverText(QPointF point) const;
    [[nodiscard]] bool isThirdClick(const QMouseEvent &event) const;
    [[nodiscard]] qsizetype positionAt(
        QPointF point, QTextLine::CursorPosition kind = QTextLine::CursorBetweenCharacters) const;
    [[nodiscard]] Range unitAt(QPointF point) const;
    void select(qsizetype anchor, qsizetype end);
    void dragTo(QPointF point);
    [[nodiscard]] Range selection() const;

    qsizetype m_anchor = 0; ///< both in the shown text
    qsizetype m_end = 0;
    std::optional<Unit> m_drag; ///< none while the mouse drags nothing
    Range m_origin; ///< where the drag began
    std::optional<QPointF> m_doubleClick; ///< the place of the last one
    quint64 m_doubleClickTime = 0; ///< milliseconds, of the window system
};
