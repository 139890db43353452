#include "desktop/FilePicker.h"

#include "desktop/AudioFileDialog.h"
#include "desktop/AudioFileTypes.h"
#include "desktop/BringToFront.h"
#include "desktop/PortalRequest.h"
#include "files/DetachedThread.h"
#include "files/LocalFile.h"
#include "files/Sandbox.h"

#include <QDBusMetaType>
#include <QDir>
#include <QGuiApplication>
#include <QStandardPaths>
#include <algorithm>
#include <functional>
#include <malloc.h>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

/// What a portal's dialog lists: a glob or a MIME type.
using FilterRule = std::pair<uint, QString>;
constexpr uint Glob = 0;
constexpr uint MimeType = 1;

using Filter = std::pair<QString, QList<FilterRule>>;

/// Most portals compare names with regard to case.
QString globForAnyCase(const QString &ending)
{
    QString glob = u"*."_s;
    for (const QChar letter : ending)
        glob += letter.isLetter() ? u"[%1%2]"_s.arg(letter, letter.toUpper()) : QString(letter);
    return glob;
}

Filter audioFiles()
{
    QList<FilterRule> rules;
    for (const QString &ending : AudioFileEndings.toString().split(u' '))
        rules.append({Glob, globForAnyCase(ending)});
    // Plasma 5 would forget the names for the types, some of which it does not know.
    if (qgetenv("KDE_SESSION_VERSION") != "5") {
        for (const QString &type : AudioFileTypes.toString().split(u' '))
            rules.append({MimeType, type});
    }
    return {AudioFileDialog::tr("Archivos de audio"), rules};
}

/// A dialog, and the import after it, leave nearly 1 MiB of holes in the heap, which the system can have back.
void returnFreeMemory()
{
#ifdef __GLIBC__
    malloc_trim(0);
#endif
}

bool isLocal(const QUrl &url)
{
    return !localFilePath(url).isEmpty();
}

QUrl musicFolder()
{
    return QUrl::fromLocalFile(QStandardPaths::writableLocation(QStandardPaths::MusicLocation) + u'/');
}

/// Whether the folder is there, and its medium answers: in one that does not, the toolkit's dialog would hang.
bool isUsable(const QUrl &folder)
{
    const auto exists = [folder] {
        const FolderLookup lookup(localFolderPath(folder));
        return !lookup.isBlocked() && QDir(folder.toLocalFile()).exists();
    };
    return folder.isLocalFile() && callWithTimeout(exists).value_or(false);
}

} // namespace

FilePicker::~FilePicker()
{
    delete m_request;
    delete m_dialog;
}

void FilePicker::open()
{
    if (m_dialog)
        bringToFront(*m_dialog);
    else if (m_request)
        bringToFront(*m_view.window());
    else
        askPortal();
}

void FilePicker::close()
{
    if (m_dialog)
        m_dialog->reject();
    else if (m_request)
        finish(QList<QUrl>());
}

void FilePicker::askPortal()
{
    m_request = new PortalRequest(u"FileChooser"_s, u"OpenFile"_s,
        {parentWindow(), AudioFileDialog::tr("Añadir música")}, portalOptions(),
        PortalRequest::Span::UntilAnswered, this);
    connect(m_request, &PortalRequest::answered, this, &FilePicker::handleAnswer);
    connect(m_request, &PortalRequest::failed, this, [this] { isSandboxed() ? fail() : openDialog(); });
    connect(m_request, &PortalRequest::lost, this, &FilePicker::fail);
}

/// As the portal names a window; of Wayland's, none is.
QString FilePicker::parentWindow() const
{
    if (QGuiApplication::platformName() != "xcb"_L1)
        return {};
    return u"x11:%1"_s.arg(m_view.window()->winId(), 0, 16);
}

QVariantMap FilePicker::portalOptions() const
{
    qDBusRegisterMetaType<FilterRule>();
    qDBusRegisterMetaType<QList<FilterRule>>();
    qDBusRegisterMetaType<Filter>();
    qDBusRegisterMetaType<QList<Filter>>();
    const Filter filter = audioFiles();
    QByteArray folder = localFolderPath(m_lastFolder.isEmpty() ? musicFolder() : m_lastFolder);
    folder.append('\0');
    return {{u"multiple"_s, true}, {u"modal"_s, false}, {u"current_folder"_s, folder},
        {u"filters"_s, QVariant::fromValue(QList<Filter>{filter})},
        {u"current_filter"_s, QVariant::fromValue(filter)}};
}

void FilePicker::handleAnswer(uint response, const QVariantMap &results)
{
    QList<QUrl> files;
    for (const QString &address : results.value(u"uris"_s).toStringList())
        files.append(QUrl(address));
    files.removeIf(std::not_fn(isLocal));
    if (response != 0)
        finish(QList<QUrl>());
    else if (files.isEmpty())
        finish(Error{tr("El selector de archivos no ha entregado ningún archivo de este equipo.")});
    else
        finish(files);
}

void FilePicker::fail()
{
    finish(Error{tr("El selector de archivos del escritorio no está disponible.")});
}

void FilePicker::openDialog()
{
    dropRequest();
    const QUrl music = isUsable(musicFolder()) ? musicFolder() : QUrl();
    const QUrl home = QUrl::fromLocalFile(QDir::homePath());
    const QUrl folder = isUsable(m_lastFolder) ? m_lastFolder : music.isEmpty() ? home : music;
    m_dialog = new AudioFileDialog(&m_view, folder, music);
    connect(m_dialog, &QDialog::finished, this, &FilePicker::handleDialog);
    connect(m_dialog, &QObject::destroyed, this, &returnFreeMemory, Qt::QueuedConnection);
    m_dialog->show();
}

void FilePicker::handleDialog(int outcome)
{
    const QList<QUrl> chosen = outcome == QDialog::Accepted ? m_dialog->chosenUrls() : QList<QUrl>();
    m_dialog->deleteLater();
    m_dialog.clear();
    const auto remote = std::find_if_not(chosen.begin(), chosen.end(), isLocal);
    if (remote != chosen.end())
        finish(Error{tr("«%1» no es un archivo de este equipo.").arg(remote->toDisplayString())});
    else
        finish(chosen);
}

void FilePicker::dropRequest()
{
    if (!m_request)
        return;
    m_request->disconnect(this);
    m_request->deleteLater();
    m_request = nullptr;
}

/// With no files for a cancel.
void FilePicker::finish(const Result<QList<QUrl>> &result)
{
    dropRequest();
    const bool isChoice = !result.isError() && !result.value().isEmpty();
    if (isChoice) {
        const QUrl folder = result.value().first().adjusted(QUrl::RemoveFilename);
        m_lastFolder = isPortalDocument(localFolderPath(folder)) ? m_lastFolder : folder;
    }
    if (isChoice || result.isError())
        Q_EMIT completed(result);
    Q_EMIT closed();
}
