#pragma once

#include "files/Result.h"

#include <QList>
#include <QObject>
#include <QPointer>
#include <QUrl>

class AudioFileDialog;
class QWidget;

/// The system's file picker for audio files, several at a time. Does not block the window behind it.
/// Main thread only.
class FilePicker : public QObject {
    Q_OBJECT

public:
    /// A picker for `window`, which is borrowed and outlives it.
    explicit FilePicker(QWidget &window);
    ~FilePicker() override;

    /// Shows the picker, in the user's music folder the first time; brings it to the front if it is showing.
    void open();

    /// Closes it without a choice; nothing if it is not showing.
    void close();

Q_SIGNALS:
    /// The user has chosen: the files in the picker's order, or why they cannot be delivered. Not sent on
    /// cancel.
    void completed(const Result<QList<QUrl>> &result);

    /// The picker is gone, however it closed; comes after completed().
    void closed();

private:
    void finish(int outcome);
    [[nodiscard]] QUrl firstFolder() const;

    QWidget &m_window;
    QPointer<AudioFileDialog> m_dialog; ///< null while it is not showing; owned by the window
    QUrl m_lastFolder; ///< where the last choice was made; empty before the first
};
