#pragma once

#include "ui/drawing/Fonts.h"

#include <QTextLayout>
#include <QWidget>

/// A plain text in a number of lines, the last of which ends in an ellipsis if the text is longer.
///
/// Its least size is one line of no width, so that no text ever keeps the window from shrinking. Assistive
/// technology reads the whole text.
class Label : public QWidget {
    Q_OBJECT

public:
    enum class Tone { Primary, Secondary, Tertiary };

    /// `maximumLines` of 0 means as many as the text takes.
    Label(const TextFont &font, Tone tone, int maximumLines = 1);

    /// Does nothing if the text is the same.
    virtual void setText(const QString &text);
    [[nodiscard]] const QString &text() const { return m_text; } ///< as it was set
    [[nodiscard]] Tone tone() const { return m_tone; }

    /// On which side each line stands; on the left by default.
    void setAlignment(Qt::Alignment alignment) { m_alignment = alignment; }

    /// Keeps it this wide where texts are of the usual size, and wider or narrower as they are.
    void setTextWidth(int pixels);

    /// The text as it is shown: broken at words into lines, of which the last one may be cut.
    [[nodiscard]] const QTextLayout &lines() const { return m_layout; }

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;
    [[nodiscard]] bool hasHeightForWidth() const override { return m_maximumLines != 1; }
    [[nodiscard]] int heightForWidth(int width) const override;

protected:
    bool event(QEvent *event) override;
    void changeEvent(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

    [[nodiscard]] const QString &shownText() const { return m_shown; }
    [[nodiscard]] int lineHeight() const;

private:
    void renewFont();
    void layOut(QTextLayout &layout, const QString &text, int width, int maximumLines) const;

    /// Parts of the layout that are drawn in other colours.
    [[nodiscard]] virtual QList<QTextLayout::FormatRange> highlights() const { return {}; }

    TextFont m_textFont;
    int m_textWidth = 0; ///< 0 if the text alone decides
    Tone m_tone;
    int m_maximumLines;
    Qt::Alignment m_alignment = Qt::AlignLeft;
    QString m_text;
    QString m_shown;
    QTextLayout m_layout;
};
