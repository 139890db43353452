#pragma once

#include <QWidget>

/// The soft shadow around a cover. It lies behind everything in the cover's parent and takes no room in the
/// layout.
class CoverShadow : public QWidget {
    Q_OBJECT

public:
    /// The shadow of a square with smooth corners of `radius`.
    explicit CoverShadow(double radius);

    /// Lies behind `cover`, wherever that is now; hidden if the cover is, or has no parent.
    void follow(const QWidget &cover);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    double m_radius;
};
