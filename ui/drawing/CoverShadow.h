#pragma once

#include <QImage>
#include <QWidget>

/// The soft shadow around a cover. It lies behind everything in the cover's parent and takes no room in the
/// layout.
class CoverShadow : public QWidget {
    Q_OBJECT

public:
    /// The shadow of a cover of this size with smooth corners of `radius`.
    CoverShadow(const QSize &cover, double radius);

    /// Moves behind `cover`; hidden if the cover is, or has no parent.
    void follow(const QWidget &cover);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QRect m_cover; ///< where it lies on the shadow
    double m_radius;
    QImage m_density;
};
