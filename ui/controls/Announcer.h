#pragma once

#include <QWidget>

/// Tells the users of assistive technology what has happened. Nobody sees it.
///
/// Before Qt 6.8, which has an event for this, it is a notification that shows itself anew.
class Announcer : public QWidget {
    Q_OBJECT

public:
    /// `text` is what is read as long as nothing has been announced.
    explicit Announcer(const QString &text);

    void announce(const QString &text);
};
