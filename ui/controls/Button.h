#pragma once

#include <QAbstractButton>

/// What all buttons of the window share: Return presses them, the space bar belongs to playback, a disabled
/// one is dimmed as a whole, and only the keyboard brings the focus.
class Button : public QAbstractButton {
    Q_OBJECT

public:
    /// A button that says `help` in its tooltip and to assistive technology.
    explicit Button(const QString &help);

    /// Does nothing if the text is the same.
    void setHelp(const QString &help);

    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent *event) final;
    void keyPressEvent(QKeyEvent *event) override;
    void keyReleaseEvent(QKeyEvent *event) override;

    /// Whether the mouse is over the button and a click would do something.
    [[nodiscard]] bool isHovered() const { return isEnabled() && underMouse(); }

private:
    /// Draws the button at full opacity. Its ground fills `face`, with corners of `radius`: all of the button, or
    /// what the ring of the focus leaves.
    virtual void draw(QPainter &painter, const QRectF &face, double radius) = 0;
    [[nodiscard]] virtual double cornerRadius() const = 0;
};
