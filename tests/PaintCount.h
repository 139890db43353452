#pragma once

#include <QEvent>
#include <QList>
#include <QWidget>

/// Counts how often any of some widgets is painted.
class PaintCount : public QObject {
public:
    explicit PaintCount(const QList<QWidget *> &widgets)
    {
        for (QWidget *widget : widgets)
            widget->installEventFilter(this);
    }

    int count = 0;

protected:
    bool eventFilter(QObject *, QEvent *event) override
    {
        count += event->type() == QEvent::Paint ? 1 : 0;
        return false;
    }
};
