#pragma once

#include "ui/controls/Button.h"

/// A framed button with a text, and a symbol before it if one is named.
class TextButton : public Button {
    Q_OBJECT

public:
    enum class Look {
        Bordered,
        Prominent, ///< filled with the accent colour: the one thing to do
    };

    TextButton(Look look, const QString &title, const QString &symbol = {});

    [[nodiscard]] QSize sizeHint() const override;

private:
    void draw(QPainter &painter, const QRectF &face, double radius) override;
    [[nodiscard]] double cornerRadius() const override;
    void drawFrame(QPainter &painter, const QRectF &face, double radius);
    [[nodiscard]] QColor textColor() const;
    [[nodiscard]] int symbolWidth() const; ///< with the gap behind it; 0 without a symbol

    Look m_look;
    QString m_symbol;
};
