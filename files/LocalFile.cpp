#include "files/LocalFile.h"

#include <QCollator>
#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <mutex>
#include <sys/stat.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr auto HangingTime = 2s; // shorter than a file's timeout, so that a call that was given up hangs

struct Lookups {
    std::mutex mutex; ///< guards the other
    std::multimap<QByteArray, FolderLookup::Clock::time_point>
        begins; ///< by folder, of one the first in front
};

/// Never destroyed: a call may hang until the process is gone.
Lookups &lookups()
{
    static auto *const instance = new Lookups;
    return *instance;
}

/// In the C locale the collator silently drops numeric order.
QLocale collationLocale()
{
    const QLocale user = QLocale::system().collation();
    return user.language() == QLocale::C ? QLocale(QLocale::Spanish) : user;
}

QCollator fileNameCollator()
{
    QCollator collator(collationLocale());
    collator.setNumericMode(true);
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    return collator;
}

Error openingError(int number)
{
    switch (number) {
    case ENOENT:
    case ENOTDIR:
        return {u"El archivo no existe."_s};
    case EACCES:
    case EPERM:
        return {u"No hay permiso para leer el archivo."_s};
    default:
        return {u"El archivo no se puede abrir (%1)."_s.arg(qt_error_string(number))};
    }
}

} // namespace

QByteArray localFilePath(const QUrl &url)
{
    const bool isHere = url.host().isEmpty() || url.host() == u"localhost"_s;
    if (!url.isLocalFile() || !isHere)
        return {};
    return QByteArray::fromPercentEncoding(url.path(QUrl::FullyEncoded).toLatin1());
}

QByteArray standardizedFilePath(const QUrl &url)
{
    const std::filesystem::path path(localFilePath(url).toStdString());
    if (path.empty())
        return url.toEncoded();
    const auto normal = path.lexically_normal(); // ends in a slash if a '.' or '..' was last
    return QByteArray::fromStdString((normal.has_filename() ? normal : normal.parent_path()).string());
}

QByteArray localFolderPath(const QUrl &url)
{
    const QByteArray path = localFilePath(url);
    return path.first(std::max<qsizetype>(path.lastIndexOf('/'), 0));
}

QString localFileName(const QUrl &url)
{
    const QByteArray path = localFilePath(url);
    if (path.isEmpty())
        return url.fileName();
    return QString::fromUtf8(path.sliced(path.lastIndexOf('/') + 1));
}

QList<QUrl> sortedByFileName(const QList<QUrl> &urls)
{
    const QCollator collator = fileNameCollator();
    std::multimap<QCollatorSortKey, QUrl> sorted;
    for (const QUrl &url : urls)
        sorted.emplace(collator.sortKey(localFileName(url)), url);
    QList<QUrl> result;
    for (const auto &[key, url] : sorted)
        result.append(url);
    return result;
}

FolderLookup::FolderLookup(const QByteArray &folder, Clock::time_point now)
{
    const std::lock_guard lock(lookups().mutex);
    auto &begins = lookups().begins;
    const auto first = begins.lower_bound(folder);
    m_isBlocked = first != begins.end() && first->first == folder && now - first->second >= HangingTime;
    m_entry = begins.emplace(folder, now);
}

FolderLookup::~FolderLookup()
{
    const std::lock_guard lock(lookups().mutex);
    lookups().begins.erase(m_entry);
}

Result<FileDescriptor> openRegularFile(const QUrl &url)
{
    const QByteArray path = localFilePath(url);
    if (path.isEmpty() || path.contains('\0'))
        return Error{u"La ubicación no es un archivo de este equipo."_s};

    const FolderLookup lookup(localFolderPath(url));
    if (lookup.isBlocked())
        return Error{u"El archivo no responde."_s};
    FileDescriptor file(open(path.constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    if (file.get() < 0)
        return openingError(errno);

    struct stat status = {};
    if (fstat(file.get(), &status) != 0)
        return openingError(errno);
    if (!S_ISREG(status.st_mode))
        return Error{u"No es un archivo normal."_s};

    fcntl(file.get(), F_SETFL, fcntl(file.get(), F_GETFL) & ~O_NONBLOCK);
    return file;
}
