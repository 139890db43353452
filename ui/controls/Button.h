#pragma once

#include <QAbstractButton>

/// What all buttons of the window share: Return presses them, the space bar belongs to playback, and a
/// disabled one is dimmed as a whole.
class Button : public QAbstractButton {
    Q_OBJECT

public:
    /// A button that says `help` in its tooltip and to assistive technology.
    explicit Button(const QString &help);

    /// Nothing happens where the text is the same.
    void setHelp(const QString &help);

    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent *event) final;
    void keyPressEvent(QKeyEvent *event) override;
    void keyReleaseEvent(QKeyEvent *event) override;
    void enterEvent(QEnterEvent *event) override;
    void leaveEvent(QEvent *event) override;

private:
    /// Draws the button at full opacity.
    virtual void draw(QPainter &painter) = 0;
};
