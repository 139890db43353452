#include "platform/media/Artwork.h"

#include <utility>

struct Artwork::Picture {
    QByteArray bytes;
    QSize size;
};

Artwork::Artwork(std::shared_ptr<const Picture> picture)
    : m_picture(std::move(picture))
{
}

std::optional<Artwork> Artwork::decode(const QByteArray &)
{
    return std::nullopt;
}

QSize Artwork::size() const
{
    return m_picture->size;
}

QImage Artwork::scaledToFill(QSize) const
{
    return {};
}

const QByteArray &Artwork::encoded() const
{
    return m_picture->bytes;
}
