#pragma once

#include <QWidget>

/// The edges of a window that has no other border: a hairline on top of the content, and the band by which the
/// window is resized. What lies within the band gets the mouse as if there were no frame.
class WindowFrame : public QWidget {
    Q_OBJECT

public:
    static constexpr int Band = 4; ///< points from the edge that grip it; a scroll bar beside them keeps room
    static constexpr int Corner = 16; ///< points from a corner, along the edges, that grip both edges

    explicit WindowFrame(QWidget *window);

    /// The edges of a window of this size that a point grips: two in a corner, none in the middle.
    [[nodiscard]] static Qt::Edges edgesAt(QPoint point, QSize size);

Q_SIGNALS:
    void pressed(Qt::Edges edges);

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
};
