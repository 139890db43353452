#pragma once

#include <QWidget>

/// What lies behind the whole window: its background colour under a faint diagonal tint; translucent where the
/// window shows, blurred, what lies behind it.
class Backdrop : public QWidget {
    Q_OBJECT

public:
    using QWidget::QWidget;

protected:
    void paintEvent(QPaintEvent *event) override;
};
