#include "desktop/FilePicker.h"

#include "desktop/AudioFileDialog.h"
#include "files/DetachedThread.h"
#include "files/LocalFile.h"

#include <QCoreApplication>
#include <QFile>
#include <QSettings>
#include <QStandardPaths>
#include <algorithm>
#include <malloc.h>

using namespace Qt::StringLiterals;

namespace {

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

FilePicker::FilePicker(QWidget &window)
    : m_window(window)
{
}

FilePicker::~FilePicker()
{
    delete m_dialog;
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
