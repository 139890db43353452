#pragma once

#include <QStringList>
#include <utility>

/// Assistive technology that listens to the program, in place of the toolkit, which reaches nobody without a bus.
class Listener {
public:
    Listener() { isListening = true; }
    ~Listener() { isListening = false; }
    Q_DISABLE_COPY_MOVE(Listener)

    /// What it has been told since it was asked last: values, each with the words that it read then, and alerts.
    static QStringList news() { return std::exchange(told, {}); }

    static inline bool isListening = false;
    static inline QStringList told;
};
