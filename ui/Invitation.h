#pragma once

#include <QWidget>
#include <array>

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
class Invitation : public QWidget {
    Q_OBJECT

public:
    Invitation(QWidget *symbol, QWidget *heading, QWidget *text, QWidget *button);

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    bool event(QEvent *event) override;

private:
    void arrange();
    [[nodiscard]] QSize stackedSize(QSize (QWidget::*sizeOf)() const, int gaps) const;

    std::array<QWidget *, 4> m_pieces;
};
