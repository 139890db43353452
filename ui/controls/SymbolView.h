#pragma once

#include <QFont>
#include <QWidget>

/// A symbol in the secondary colour, centred. Only an ornament of the text beside it: assistive technology
/// passes over it.
class SymbolView : public QWidget {
    Q_OBJECT

public:
    SymbolView(const QString &symbol, int pointSize, QFont::Weight weight = QFont::Normal);

    /// Does nothing if the name is the same.
    void setSymbol(const QString &symbol);
    [[nodiscard]] const QString &symbol() const { return m_symbol; }

    [[nodiscard]] QSize sizeHint() const override;

    /// The symbol shrinks down to half its size if there is no room for it.
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint() / 2; }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QString m_symbol;
    int m_pointSize;
    QFont::Weight m_weight;
};
