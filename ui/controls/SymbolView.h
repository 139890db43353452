#pragma once

#include <QFont>
#include <QWidget>

/// A symbol in the secondary colour, laid out by its ink. Only an ornament of the text beside it: assistive
/// technology passes over it.
class SymbolView : public QWidget {
    Q_OBJECT

public:
    SymbolView(const QString &symbol, int pointSize, QFont::Weight weight = QFont::Normal);

    /// Shows another one in the square of the first, so that what both have in common keeps its place. Does nothing
    /// if the name is the same.
    void setSymbol(const QString &symbol);
    [[nodiscard]] const QString &symbol() const { return m_symbol; }

    [[nodiscard]] QSize sizeHint() const override;

    /// In less height the symbol is smaller; in less than half it fades, and in a quarter there is none.
    [[nodiscard]] QSize minimumSizeHint() const override { return {0, 0}; }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QString m_first;
    QString m_symbol;
    int m_pointSize;
    QFont::Weight m_weight;
};
