#pragma once

#include <QFileDialog>
#include <QFileIconProvider>

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
