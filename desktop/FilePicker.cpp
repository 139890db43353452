#include "desktop/FilePicker.h"

#include "files/DetachedThread.h"
#include "files/LocalFile.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QLineEdit>
#include <QRegularExpression>
#include <QSettings>
#include <QStandardPaths>
#include <algorithm>
#include <malloc.h>

using namespace Qt::StringLiterals;

namespace {

/// How the names of the files end that the decoder opens.
constexpr QStringView Endings = u"aa3 aac ac3 adts aif aifc aiff aiffc amr ape at3 au awb axa caf dff dsf "
                                u"dts dtshd ec3 eac3 f4a f4b flac loas "
                                "m4a m4b m4r mka mlp mp+ mp1 mp2 mp3 mpc mpga mpp oga ogg oma opus ra shn "
                                "snd sox spx tak thd tta voc w64 wav weba "
                                "wma wv xwma";

/// Never destroyed: the thread that lists folders may use it as long as any dialog lives.
NameOnlyIconProvider *nameOnlyIcons()
{
    static auto *const provider = new NameOnlyIconProvider;
    return provider;
}

/// Whether a desktop's dialog is the portal's, which runs in a process of its own.
bool isPortalOffered()
{
    return qgetenv("QT_QPA_PLATFORMTHEME") == "xdgdesktopportal" || QFile::exists(u"/.flatpak-info"_s);
}

/// Any other desktop's dialog runs in this process and makes files under the user's home, from the moment when one
/// is built. The toolkit's own saves its state there when it is destroyed; below /dev/null no file can be made, not
/// even by root.
void keepOutOfTheHome()
{
    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs, !isPortalOffered());
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, u"/dev/null"_s);
}

/// A dialog, and the import after it, leave nearly 1 MiB of holes in the heap, which the system can have back.
void returnFreeMemory()
{
#ifdef __GLIBC__
    malloc_trim(0);
#endif
}

Result<QList<QUrl>> localFilesOnly(const QList<QUrl> &urls)
{
    const auto remote =
        std::find_if(urls.begin(), urls.end(), [](const QUrl &url) { return localFilePath(url).isEmpty(); });
    if (remote == urls.end())
        return urls;
    return Error{FilePicker::tr("«%1» no es un archivo de este equipo.").arg(remote->toDisplayString())};
}

/// Whether the folder is there, and its medium answers: in one that does not, the dialog would hang.
bool isUsable(const QUrl &folder)
{
    const auto exists = [folder] {
        const FolderLookup lookup(localFolderPath(folder));
        return !lookup.isBlocked() && QDir(folder.toLocalFile()).exists();
    };
    return folder.isLocalFile() && callWithTimeout(exists).value_or(false);
}

} // namespace

QIcon NameOnlyIconProvider::icon(const QFileInfo &info) const
{
    return info.isDir() ? m_folder : m_file;
}

QString NameOnlyIconProvider::type(const QFileInfo &info) const
{
    return info.isDir() ? AudioFileDialog::tr("Carpeta")
                        : AudioFileDialog::tr("Archivo %1").arg(info.suffix().toUpper()).trimmed();
}

QList<QUrl> typedAddresses(const QString &text)
{
    static const QRegularExpression scheme(
        u"^[a-z][a-z0-9+.-]*://."_s, QRegularExpression::CaseInsensitiveOption);
    QList<QUrl> addresses;
    const QString typed = text.trimmed();
    const bool isQuoted = typed.startsWith(u'"');
    for (const QString &name : isQuoted ? typed.split(u'"', Qt::SkipEmptyParts) : QStringList(typed)) {
        if (name.trimmed().isEmpty())
            continue; // between two names
        if (!scheme.match(name).hasMatch())
            return {};
        addresses.append(QUrl(name));
    }
    return addresses;
}

AudioFileDialog::AudioFileDialog(QWidget *parent, const QUrl &folder)
    : QFileDialog(parent)
{
    setWindowTitle(tr("Añadir música"));
    setFileMode(QFileDialog::ExistingFiles);
    setOption(QFileDialog::HideNameFilterDetails);
    setOption(QFileDialog::ReadOnly);
    setNameFilter(tr("Archivos de audio") + u" (*.%1)"_s.arg(Endings.toString().replace(u' ', u" *."_s)));
    setIconProvider(nameOnlyIcons());
    setDirectoryUrl(folder);
}

QList<QUrl> AudioFileDialog::chosenUrls() const
{
    return m_typedAddresses.isEmpty() ? selectedUrls() : m_typedAddresses;
}

void AudioFileDialog::accept()
{
    if (const auto *nameField = findChild<QLineEdit *>(u"fileNameEdit"_s))
        m_typedAddresses = typedAddresses(nameField->text());
    if (m_typedAddresses.isEmpty())
        QFileDialog::accept();
    else
        done(QDialog::Accepted);
}

void AudioFileDialog::showEvent(QShowEvent *event)
{
    QFileDialog::showEvent(event);
    // The list of completions takes keys that come while it opens or closes.
    if (auto *nameField = findChild<QLineEdit *>(u"fileNameEdit"_s))
        nameField->setCompleter(nullptr);
}

void FilePicker::open()
{
    if (m_dialog) {
        m_dialog->raise();
        m_dialog->activateWindow();
        return;
    }
    keepOutOfTheHome();
    m_dialog = new AudioFileDialog(&m_window, firstFolder());
    connect(m_dialog, &QDialog::finished, this, &FilePicker::finish);
    connect(m_dialog, &QObject::destroyed, this, &returnFreeMemory, Qt::QueuedConnection);
    m_dialog->show();
}

void FilePicker::close()
{
    if (m_dialog)
        m_dialog->reject();
}

void FilePicker::finish(int outcome)
{
    const QList<QUrl> chosen = outcome == QDialog::Accepted ? m_dialog->chosenUrls() : QList<QUrl>();
    m_dialog->deleteLater();
    m_dialog.clear();
    if (!chosen.isEmpty()) {
        m_lastFolder = chosen.first().adjusted(QUrl::RemoveFilename);
        Q_EMIT completed(localFilesOnly(chosen));
    }
    Q_EMIT closed();
}

QUrl FilePicker::firstFolder() const
{
    const QString music = QStandardPaths::writableLocation(QStandardPaths::MusicLocation);
    for (const QUrl &folder : {m_lastFolder, QUrl::fromLocalFile(music + u'/')}) {
        if (isUsable(folder))
            return folder;
    }
    return QUrl::fromLocalFile(QDir::homePath());
}
