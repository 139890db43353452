#pragma once

#include "ui/controls/Button.h"

/// The large filled circle with the play or pause symbol cut out of it.
class PlayButton : public Button {
    Q_OBJECT

public:
    PlayButton();

    /// Shows what a click will do: pause while playing, play otherwise.
    void setPlaying(bool isPlaying);

    [[nodiscard]] QSize sizeHint() const override { return {58, 58}; }

private:
    void draw(QPainter &painter, const QRectF &face, double radius) override;
    [[nodiscard]] double cornerRadius() const override { return width() / 2.0; }

    bool m_isPlaying = false;
};
