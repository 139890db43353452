#pragma once

#include "files/Result.h"

#include <QFileDialog>
#include <QFileIconProvider>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QUrl>

/// Icons and types for a file dialog by what a file is called, without a look inside: the toolkit's own one
/// reads every file that it lists. Any thread, once it is made on the main thread.
class NameOnlyIconProvider : public QFileIconProvider {
public:
    [[nodiscard]] QIcon icon(IconType type) const override { return QFileIconProvider::icon(type); }
    [[nodiscard]] QIcon icon(const QFileInfo &info) const override;
    [[nodiscard]] QString type(const QFileInfo &info) const override;

private:
    QIcon m_folder = QFileIconProvider::icon(Folder);
    QIcon m_file = QFileIconProvider::icon(File);
};

/// The file dialog for audio files: the portal's if that is offered, else the toolkit's.
///
/// Several files at a time, audio types only. The toolkit's own dialog does not list files whose names are not
/// valid UTF-8; their file:// address can be typed into its name field.
class AudioFileDialog : public QFileDialog {
    Q_OBJECT

public:
    /// A dialog that starts in `folder`; main thread only.
    AudioFileDialog(QWidget *parent, const QUrl &folder);

    /// What was chosen, in the dialog's order: also addresses of what does not lie on this machine.
    [[nodiscard]] QList<QUrl> chosenUrls() const;

    void accept() override;

protected:
    void showEvent(QShowEvent *event) override;

private:
    QList<QUrl> m_typedAddresses; ///< the name field's content if that was accepted as addresses
};

/// The addresses ("smb://server/a.mp3", "file:///m/%FF.mp3") in what was typed into a name field: one, or
/// several in quotation marks. Empty if anything in it is not an address, but a file name.
QList<QUrl> typedAddresses(const QString &text);

/// The system's file picker for audio files, several at a time. Does not block the window behind it.
/// Main thread only.
class FilePicker : public QObject {
    Q_OBJECT

public:
    /// A picker for `window`, which is borrowed and outlives it.
    explicit FilePicker(QWidget &window)
        : m_window(window)
    {
    }
    ~FilePicker() override { delete m_dialog; }

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
