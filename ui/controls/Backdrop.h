#pragma once

#include <QWidget>

/// What lies behind the whole window: its background colour under a faint diagonal tint.
class Backdrop : public QWidget {
    Q_OBJECT

public:
    using QWidget::QWidget;

protected:
    void paintEvent(QPaintEvent *event) override;
};
