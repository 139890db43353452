#pragma once

#include "files/Result.h"

#include <QList>
#include <QPointer>
#include <QUrl>
#include <QVariant>
#include <QWidget>

class AudioFileDialog;
class PortalRequest;

/// The system's file picker for audio files, several at a time: the portal's, else the toolkit's own dialog. Does not
/// block the window behind it. Main thread only.
class FilePicker : public QObject {
    Q_OBJECT

public:
    /// A picker for what lies in a window, which is borrowed and outlives it.
    explicit FilePicker(QWidget &view)
        : m_view(view)
    {
    }
    ~FilePicker() override;

    /// Asks for the picker, which starts in the user's music folder the first time. If it is asked for or shown
    /// already, brings it to the front, or the window if it is the portal's.
    void open();

    /// Closes it without a choice; nothing if it is not asked for.
    void close();

Q_SIGNALS:
    /// The user has chosen: the files in the picker's order, or why they cannot be delivered. Not sent on
    /// cancel.
    void completed(const Result<QList<QUrl>> &result);

    /// The picker is gone, however it closed; comes after completed().
    void closed();

private:
    void askPortal();
    [[nodiscard]] QVariantMap portalOptions() const;
    [[nodiscard]] QString parentWindow() const;
    void handleAnswer(uint response, const QVariantMap &results);
    void fail();
    void openDialog();
    void handleDialog(int outcome);
    void dropRequest();
    void finish(const Result<QList<QUrl>> &result);

    QWidget &m_view;
    PortalRequest *m_request = nullptr; ///< null while the portal is not asked
    QPointer<AudioFileDialog> m_dialog; ///< null while it is not showing; owned by the view
    QUrl m_lastFolder; ///< where the last choice was made; empty before the first
};
