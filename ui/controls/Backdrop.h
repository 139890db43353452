#pragma once

#include <QColor>
#include <QList>
#include <QWidget>

/// What lies behind the whole window: its background colour under a faint diagonal tint.
///
/// The tint has fewer colours than a large window has room for, so it is dithered: the pixels of neighbouring colours
/// mix in a fixed pattern, and no bands show.
class Backdrop : public QWidget {
    Q_OBJECT

public:
    using QWidget::QWidget;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    void mixColors();
    void drawPart(QPainter &painter, const QRect &part, const QRectF &whole) const;

    // What was mixed from the two colours: for each step along the diagonal those for each place of the pattern.
    QColor m_ground;
    QColor m_primary;
    QList<QRgb> m_colors;
};
