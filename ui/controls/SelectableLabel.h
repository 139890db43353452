#pragma once

#include "ui/controls/Label.h"

/// A label whose text can be selected with the mouse, or as a whole with the Tab key, and copied. A selection
/// that reaches the end of the last line reaches the end of the text, even if an ellipsis hides it.
class SelectableLabel : public Label {
    Q_OBJECT

public:
    SelectableLabel(const QFont &font, Tone tone, int maximumLines);

    /// Selects as much of the new text as of the former one, if that was all or nothing; otherwise nothing.
    void setText(const QString &text) override;

    [[nodiscard]] QString selectedText() const;
    void selectAll();
    void copy() const; ///< puts the selected text, if any, on the clipboard

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;

private:
    void drawLine(QPainter &painter, const TextLine &line, QPointF position) override;
    [[nodiscard]] qsizetype positionAt(QPointF point) const;
    void select(qsizetype anchor, qsizetype end);
    void selectWord(qsizetype position);
    [[nodiscard]] qsizetype selectionStart() const;
    [[nodiscard]] qsizetype selectionEnd() const;

    qsizetype m_anchor = 0; ///< both in the shown text
    qsizetype m_end = 0;
};
