#pragma once

#include <QWidget>

/// A hairline across the window.
class Divider : public QWidget {
    Q_OBJECT

public:
    explicit Divider(double opacity);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    double m_opacity;
};
