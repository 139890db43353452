#pragma once

#include <QObject>

/// An object whose state is made of Published properties and whose observers hear of every change before it
/// is stored. Main thread only.
class ObservableObject : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

Q_SIGNALS:
    /// One of the properties is about to be written.
    void objectWillChange();
};
