#pragma once

#include <QFileDialog>
#include <QFileIconProvider>
#include <QList>
#include <QUrl>

class QLineEdit;

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

/// The toolkit's own file dialog, for audio files: several at a time, and none but those.
///
/// It writes nothing below the user's home. Files whose names are not valid UTF-8 are not listed; their file:// address
/// can be typed into the name field.
class AudioFileDialog : public QFileDialog {
    Q_OBJECT

public:
    /// A dialog that starts in `folder` and has `music` at its side, unless that is empty. Both are looked into here.
    /// Main thread only.
    AudioFileDialog(QWidget *parent, const QUrl &folder, const QUrl &music);

    /// What was chosen, in the dialog's order: also addresses of what does not lie on this machine.
    [[nodiscard]] QList<QUrl> chosenUrls() const;

    void accept() override;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void showEvent(QShowEvent *event) override;

private:
    void arrange();
    void enableForAddresses(const QString &text);

    QLineEdit *m_nameField; ///< the toolkit's; null if it has none
    QList<QUrl> m_chosenUrls; ///< typed addresses, or files that are selected beside folders
};

/// The addresses ("smb://server/a.mp3", "file:///m/%FF.mp3") in what was typed into a name field: one, or
/// several in quotation marks. Empty if anything in it is not an address, but a file name.
QList<QUrl> typedAddresses(const QString &text);
