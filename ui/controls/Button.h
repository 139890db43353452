#pragma once

#include <QAbstractButton>

/// A button of the window: a symbol, or a text with or without one.
///
/// Return presses it, the space bar belongs to playback, a disabled one is dimmed as a whole, and only the keyboard
/// brings the focus.
class Button : public QAbstractButton {
    Q_OBJECT

public:
    enum class Look {
        Plain, ///< without a frame; if it is active, with a faint circle of the accent behind the symbol
        Disc, ///< a filled circle with the symbol cut out of it
        Bordered,
        Prominent, ///< filled with the accent colour: the one thing to do
    };

    /// A symbol, by its name, for a font of this size and weight.
    struct Symbol {
        QString name;
        int pointSize;
        QFont::Weight weight = QFont::Normal;
    };

    /// A button of `extent` with the symbol in its middle, which says `help` in its tooltip and to assistive technology.
    Button(Look look, const Symbol &symbol, const QString &help, const QSize &extent);

    /// A button with a text, and a symbol before it if one is named.
    Button(Look look, const QString &title, const QString &symbol = {});

    // These do nothing if there is nothing to change.
    void setHelp(const QString &help);
    void setSymbol(const QString &name);

    /// Shows the active look, of a checkable button, or ends it.
    void setActive(bool isActive);

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    bool event(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void keyReleaseEvent(QKeyEvent *event) override;
    void nextCheckState() override { } // what is active follows from setActive() alone

private:
    struct Colors {
        QColor ground;
        QColor wash; ///< over the ground while the mouse is over the button and a click would do something
        QColor content;
    };

    [[nodiscard]] Colors colors() const;
    [[nodiscard]] int symbolWidth() const; ///< before a text, with the gap between them; 0 without a symbol
    void drawGround(QPainter &painter, const QRectF &face, double radius, const Colors &colors) const;
    void drawContent(QPainter &painter, const QColor &color) const;
    void clickIfToggled(bool isChecked);

    Look m_look;
    Symbol m_symbol;
    QSize m_extent; ///< of a button without a text
    bool m_isActive = false;
};
