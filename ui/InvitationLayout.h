#pragma once

#include <QLayout>

/// The lengths of the invitation to an empty playlist from top to bottom, in points.
struct InvitationLengths {
    double end; ///< above and below all
    double symbol;
    double symbolGap; ///< below the symbol
    double gap; ///< between the texts, and above the button
};

/// The lengths for `room` points of height, of which `texts` are those of the texts and the button; `symbol` is the
/// full height of the symbol. In little room there is no symbol, and ends and gaps are small; with more room first
/// the symbol grows, then they do. None of them ever leaps.
[[nodiscard]] InvitationLengths invitationLengths(double room, double texts, double symbol);

/// A symbol, a heading, a line of text and a button, centred one below the other.
class InvitationLayout : public QLayout {
public:
    InvitationLayout(QWidget *symbol, QWidget *heading, QWidget *text, QWidget *button);
    ~InvitationLayout() override;

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSize() const override;
    [[nodiscard]] Qt::Orientations expandingDirections() const override;
    void setGeometry(const QRect &area) override;

    void addItem(QLayoutItem *item) override { m_items.append(item); }
    [[nodiscard]] QLayoutItem *itemAt(int index) const override { return m_items.value(index); }
    QLayoutItem *takeAt(int index) override;
    [[nodiscard]] int count() const override { return static_cast<int>(m_items.size()); }

private:
    [[nodiscard]] int heightOf(int index, int width) const;

    QList<QLayoutItem *> m_items;
};
