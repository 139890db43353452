#pragma once

#include <QScrollBar>

/// A thin vertical scroll bar without arrows, the same on every desktop: a rounded thumb that shows while there
/// is something to scroll. In all else it is a scroll bar as others are.
class ScrollBar : public QScrollBar {
    Q_OBJECT

public:
    static constexpr int Width = 10; ///< of which the last 4 points leave the window its edge

    ScrollBar();

    [[nodiscard]] QSize sizeHint() const override { return {Width, Width}; }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    [[nodiscard]] double thumbOpacity() const;
};
