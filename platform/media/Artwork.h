#pragma once

#include <QByteArray>
#include <QImage>
#include <QSize>
#include <memory>
#include <optional>

/// A cover picture as the file carries it: JPEG, PNG, WebP, GIF or BMP.
///
/// A small value; copies share the encoded bytes, and so do artworks made of the same bytes. Pixels exist
/// only for what is drawn. Main thread only.
class Artwork {
public:
    /// The picture in `bytes`, or nothing where they are not one of the formats above or claim a size beyond
    /// reason. Reads the header only: no pixel is allocated.
    static std::optional<Artwork> decode(const QByteArray &bytes);

    /// Size in pixels, as the header states it.
    [[nodiscard]] QSize size() const;

    /// The picture scaled to cover `pixels`, its overflow cut evenly off both sides; null where its body
    /// turns out to be damaged. Kept in a bounded cache.
    [[nodiscard]] QImage scaledToFill(QSize pixels) const;

    /// The encoded bytes, shared with every artwork of the same picture.
    [[nodiscard]] const QByteArray &encoded() const;

private:
    struct Picture;
    explicit Artwork(std::shared_ptr<const Picture> picture);

    std::shared_ptr<const Picture> m_picture;
};
