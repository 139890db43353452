#include "mpris/CoverFile.h"

#include "files/DetachedThread.h"
#include "files/LocalFile.h"
#include "files/Sandbox.h"
#include "metadata/ArtworkLoader.h"

#include <QDir>
#include <fcntl.h>
#include <sys/file.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr auto ReadingTime = 5s; // then no other file with the picture is tried

const auto Prefix = u"lumaverdine-cover-"_s;

/// The user's runtime folder, of a sandbox's the part that it shares with the desktop; nothing if there is none. See
/// XDG_RUNTIME_DIR in https://specifications.freedesktop.org/basedir-spec and
/// https://docs.flatpak.org/en/latest/sandbox-permissions.html.
std::optional<QDir> runtimeFolder()
{
    QString folder = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (isSandboxed())
        folder += u"/app/"_s + qEnvironmentVariable("FLATPAK_ID");
    const QString path = QFileInfo(folder).canonicalFilePath();
    return path.isEmpty() ? std::nullopt
                          : std::optional(QDir(path)); // without a path it would be the working folder
}

bool lock(int descriptor)
{
    return flock(descriptor, LOCK_EX | LOCK_NB) == 0;
}

/// A locked file of these bytes in the runtime folder, which removes itself; null if it cannot be written.
std::unique_ptr<QTemporaryFile> makeFile(const QByteArray &bytes)
{
    const auto folder = runtimeFolder();
    if (!folder || bytes.isEmpty())
        return nullptr;
    auto file = std::make_unique<QTemporaryFile>(folder->filePath(Prefix + u"XXXXXX"_s));
    const bool isWritten =
        file->open() && lock(file->handle()) && file->write(bytes) == bytes.size() && file->flush();
    if (!isWritten || file->fileName().isEmpty()) // it has no name before
        return nullptr;
    return file;
}

} // namespace

CoverFile::~CoverFile()
{
    const std::lock_guard lock(m_receiver->mutex);
    m_receiver->cover = nullptr;
}

void CoverFile::removeLeftovers()
{
    const auto folder = runtimeFolder();
    if (!folder)
        return;
    for (const QString &name : folder->entryList({Prefix + u'*'}, QDir::Files | QDir::CaseSensitive)) {
        const QByteArray path = QFile::encodeName(folder->filePath(name));
        const FileDescriptor file(open(path.constData(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
        if (file.get() >= 0 && lock(file.get()))
            unlink(path.constData());
    }
}

void CoverFile::show(const std::optional<Artwork> &artwork)
{
    const bool isSame =
        m_artwork && artwork ? m_artwork->fingerprint() == artwork->fingerprint() : !m_artwork && !artwork;
    if (isSame)
        return;
    m_artwork = artwork;
    m_file.reset();
    write();
}

QUrl CoverFile::url() const
{
    return m_file ? QUrl::fromLocalFile(m_file->fileName()) : QUrl();
}

void CoverFile::write()
{
    if (!m_artwork || m_isWriting)
        return;
    const auto work = [receiver = m_receiver, picture = m_artwork->fingerprint(),
                          files = m_artwork->files()] {
        auto file = makeFile(pictureBytes(files, picture, QDeadlineTimer(ReadingTime)));
        const std::lock_guard lock(receiver->mutex);
        CoverFile *const cover = receiver->cover;
        if (!cover)
            return;
        if (file)
            file->moveToThread(cover->thread());
        auto take = [cover, picture, file = std::move(file)]() mutable {
            cover->take(picture, std::move(file));
        };
        QMetaObject::invokeMethod(cover, std::move(take), Qt::QueuedConnection);
    };
    m_isWriting = startDetachedThread(work);
}

void CoverFile::take(const Fingerprint &picture, std::unique_ptr<QTemporaryFile> file)
{
    m_isWriting = false;
    if (m_artwork && m_artwork->fingerprint() == picture) {
        m_file = std::move(file);
        Q_EMIT changed();
    } else {
        write();
    }
}
