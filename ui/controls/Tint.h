#pragma once

#include <QWidget>

/// A faint even wash of the primary colour behind an area.
class Tint : public QWidget {
    Q_OBJECT

public:
    explicit Tint(double opacity);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    double m_opacity;
};
