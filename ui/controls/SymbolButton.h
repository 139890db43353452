#pragma once

#include "ui/controls/Button.h"

#include <algorithm>

/// A symbol that can be clicked, without a frame. In its active look, the checked state, symbol and a faint
/// circle behind it take the accent colour.
class SymbolButton : public Button {
    Q_OBJECT

public:
    /// A button of `extent` with the symbol at `pointSize` in its middle.
    SymbolButton(
        const QString &symbol, int pointSize, QFont::Weight weight, const QString &help, const QSize &extent);

    /// Shows the active look, of a checkable button, or ends it.
    void setActive(bool isActive);
    [[nodiscard]] QSize sizeHint() const override { return m_extent; }

private:
    void draw(QPainter &painter, const QRectF &face, double radius) override;
    [[nodiscard]] double cornerRadius() const override { return std::min(width(), height()) / 2.0; }
    void nextCheckState() override { } // what is active follows from setActive() alone
    void clickIfToggled(bool isChecked);

    bool m_isActive = false;
    QString m_symbol;
    int m_pointSize;
    QFont::Weight m_weight;
    QSize m_extent;
};
