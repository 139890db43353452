#include "platform/media/Artwork.h"

#include <QBuffer>
#include <QCache>
#include <QHash>
#include <QImageReader>
#include <algorithm>
#include <utility>

namespace {

constexpr int SideLimit = 16'384;
constexpr qint64 AreaLimit = 50'000'000;
constexpr int AllocationLimit = 200; // MB: a PNG of that size while it is decoded
constexpr qsizetype CacheLimit = 32 << 20;

/// The format as QImageReader names it; empty for all that is not decoded.
QByteArray pictureFormat(const QByteArray &bytes)
{
    if (bytes.startsWith("\xff\xd8\xff"))
        return "jpeg";
    if (bytes.startsWith("\x89PNG\r\n\x1a\n"))
        return "png";
    if (bytes.startsWith("RIFF") && bytes.indexOf("WEBP", 8) == 8)
        return "webp";
    if (bytes.startsWith("GIF8"))
        return "gif";
    if (bytes.startsWith("BM"))
        return "bmp";
    return {};
}

/// A reader of the picture in a buffer, by the format that its content shows and no other.
class PictureReader {
public:
    explicit PictureReader(const QByteArray &bytes)
        : m_reader(&m_buffer, pictureFormat(bytes))
    {
        m_buffer.setData(bytes);
        m_buffer.open(QIODevice::ReadOnly);
        QImageReader::setAllocationLimit(AllocationLimit);
        m_reader.setAutoDetectImageFormat(false);
        m_reader.setAutoTransform(true);
    }

    [[nodiscard]] bool isTurned() const
    {
        return m_reader.transformation() & QImageIOHandler::TransformationRotate90;
    }

    [[nodiscard]] QSize uprightSize() const
    {
        return isTurned() ? m_reader.size().transposed() : m_reader.size();
    }

    QImage read(QSize pixels)
    {
        const QSize unturned = isTurned() ? pixels.transposed() : pixels;
        m_reader.setClipRect(centredRegion(m_reader.size(), unturned));
        m_reader.setScaledSize(unturned);
        return m_reader.read();
    }

private:
    QBuffer m_buffer;
    QImageReader m_reader;
};

bool isWithinReason(QSize size)
{
    return !size.isEmpty() && std::max(size.width(), size.height()) <= SideLimit
        && qint64(size.width()) * size.height() <= AreaLimit;
}

/// Differs between pictures cheaply: a few bytes all over stand for the rest.
std::size_t fingerprint(const QByteArray &bytes)
{
    constexpr qsizetype samples = 64;
    const qsizetype step = std::max<qsizetype>(bytes.size() / samples, 1);
    std::size_t hash = qHash(bytes.size());
    for (qsizetype i = 0; i < bytes.size(); i += step)
        hash = hash * 31 + static_cast<unsigned char>(bytes[i]);
    return hash;
}

struct ScaledKey {
    quint64 picture;
    QSize pixels;

    friend bool operator==(const ScaledKey &a, const ScaledKey &b) = default;
    friend std::size_t qHash(const ScaledKey &key, std::size_t seed)
    {
        return qHashMulti(seed, key.picture, key.pixels.width(), key.pixels.height());
    }
};

QCache<ScaledKey, QImage> &scaledPictures()
{
    static QCache<ScaledKey, QImage> cache(CacheLimit);
    return cache;
}

} // namespace

struct Artwork::Picture {
    QByteArray bytes;
    QSize size;
    quint64 number; ///< unlike an address never used again
};

QRect centredRegion(QSize size, QSize target)
{
    const QSize region = target.scaled(size, Qt::KeepAspectRatio).expandedTo({1, 1});
    return {QPoint((size.width() - region.width()) / 2, (size.height() - region.height()) / 2), region};
}

Artwork::Artwork(std::shared_ptr<const Picture> picture)
    : m_picture(std::move(picture))
{
}

std::optional<Artwork> Artwork::decode(const QByteArray &bytes)
{
    const auto picture = shared(bytes);
    return picture ? std::optional(Artwork(picture)) : std::nullopt;
}

/// The picture of these bytes that lives already, or a new one; null where they are not a picture.
std::shared_ptr<const Artwork::Picture> Artwork::shared(const QByteArray &bytes)
{
    static QHash<std::size_t, std::weak_ptr<const Picture>> known;
    static qsizetype tidyAt = 64;
    static quint64 count = 0;

    const std::size_t key = fingerprint(bytes);
    if (auto picture = known.value(key).lock(); picture && picture->bytes == bytes)
        return picture;

    const QSize size = pictureFormat(bytes).isEmpty() ? QSize() : PictureReader(bytes).uprightSize();
    if (!isWithinReason(size))
        return nullptr;
    if (known.size() >= tidyAt) {
        known.removeIf([](const auto &entry) { return entry.value().expired(); });
        tidyAt = std::max<qsizetype>(64, 2 * known.size());
    }
    auto picture = std::make_shared<const Picture>(Picture{bytes, size, ++count});
    known.insert(key, picture);
    return picture;
}

QSize Artwork::size() const
{
    return m_picture->size;
}

QImage Artwork::scaledToFill(QSize pixels) const
{
    if (pixels.isEmpty())
        return {};
    const ScaledKey key{m_picture->number, pixels};
    if (const QImage *known = scaledPictures().object(key))
        return *known;

    QImage image = PictureReader(m_picture->bytes).read(pixels);
    scaledPictures().insert(key, new QImage(image), std::max<qsizetype>(image.sizeInBytes(), 1));
    return image;
}

const QByteArray &Artwork::encoded() const
{
    return m_picture->bytes;
}
