#include "metadata/Artwork.h"

#include "metadata/PictureDecoder.h"

#include <QHash>
#include <QRandomGenerator>
#include <algorithm>
#include <utility>

Fingerprint::Fingerprint(QByteArrayView bytes)
{
    static const std::size_t firstSeed = QRandomGenerator::system()->generate64();
    static const std::size_t secondSeed = QRandomGenerator::system()->generate64();
    m_first = qHashBits(bytes.data(), std::size_t(bytes.size()), firstSeed);
    m_second = qHashBits(bytes.data(), std::size_t(bytes.size()), secondSeed);
}

Artwork::Artwork(std::shared_ptr<const Picture> picture)
    : m_picture(std::move(picture))
{
}

std::optional<Artwork> Artwork::decode(const QByteArray &bytes, const QUrl &file)
{
    static QHash<Fingerprint, std::weak_ptr<Picture>> known;
    static qsizetype tidyAt = 64;

    const Fingerprint fingerprint(bytes);
    std::shared_ptr<Picture> picture = known.value(fingerprint).lock();
    if (!picture) {
        const auto encoded = readPicture(bytes);
        if (!encoded)
            return std::nullopt;
        if (known.size() >= tidyAt) {
            known.removeIf([](const auto &entry) { return entry.value().expired(); });
            tidyAt = std::max<qsizetype>(64, 2 * known.size());
        }
        picture = std::make_shared<Picture>(Picture{fingerprint, encoded->uprightSize(), {}});
        known.insert(fingerprint, picture);
    }
    picture->files.append(file);
    return Artwork({picture.get(), [picture, file](const Picture *) { picture->files.removeOne(file); }});
}
