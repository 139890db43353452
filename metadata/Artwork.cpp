#include "metadata/Artwork.h"

#include "metadata/PictureDecoder.h"

#include <QHash>
#include <QRandomGenerator>
#include <algorithm>
#include <utility>

namespace {

struct Seeds {
    std::size_t first = QRandomGenerator::system()->generate64();
    std::size_t second = QRandomGenerator::system()->generate64();
};

} // namespace

Fingerprint::Fingerprint(QByteArrayView bytes)
{
    static const Seeds seeds;
    const auto size = std::size_t(bytes.size());
    m_first = qHashBits(bytes.data(), size, seeds.first);
    m_second = qHashBits(bytes.data(), size, seeds.second);
}

struct Artwork::Picture {
    Fingerprint fingerprint;
    QSize size;
    QList<QUrl> files;
};

/// A file that carries the picture, for as long as it has an artwork.
struct Artwork::Place {
    Place(std::shared_ptr<Picture> thePicture, QUrl theFile)
        : picture(std::move(thePicture))
        , file(std::move(theFile))
    {
        picture->files.append(file);
    }
    ~Place() { picture->files.removeOne(file); }
    Place(const Place &) = delete;
    Place &operator=(const Place &) = delete;

    const std::shared_ptr<Picture> picture;
    const QUrl file;
};

Artwork::Artwork(std::shared_ptr<const Place> place)
    : m_place(std::move(place))
{
}

std::optional<Artwork> Artwork::decode(const QByteArray &bytes, const QUrl &file)
{
    auto picture = shared(bytes);
    return picture ? std::optional(Artwork(std::make_shared<const Place>(std::move(picture), file)))
                   : std::nullopt;
}

/// The picture of these bytes that lives already, or a new one; null if they are not a picture.
std::shared_ptr<Artwork::Picture> Artwork::shared(const QByteArray &bytes)
{
    static QHash<Fingerprint, std::weak_ptr<Picture>> known;
    static qsizetype tidyAt = 64;

    const Fingerprint fingerprint(bytes);
    if (auto picture = known.value(fingerprint).lock())
        return picture;

    const auto encoded = readPicture(bytes);
    if (!encoded)
        return nullptr;
    if (known.size() >= tidyAt) {
        known.removeIf([](const auto &entry) { return entry.value().expired(); });
        tidyAt = std::max<qsizetype>(64, 2 * known.size());
    }
    auto picture = std::make_shared<Picture>(Picture{fingerprint, encoded->uprightSize(), {}});
    known.insert(fingerprint, picture);
    return picture;
}

QSize Artwork::size() const
{
    return m_place->picture->size;
}

const Fingerprint &Artwork::fingerprint() const
{
    return m_place->picture->fingerprint;
}

const QList<QUrl> &Artwork::files() const
{
    return m_place->picture->files;
}
