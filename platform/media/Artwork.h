#pragma once

#include <QByteArray>
#include <QImage>
#include <QRect>
#include <QSize>
#include <memory>
#include <optional>

/// The largest region of a picture of `size` that has the proportions of `target`, at its centre.
QRect centredRegion(QSize size, QSize target);

/// A cover picture as the file carries it: JPEG, PNG, WebP, GIF or BMP.
///
/// A small value; copies share the encoded bytes, and so do artworks made of the same bytes. Pixels exist
/// only for what is drawn. Main thread only.
class Artwork {
public:
    /// The picture in `bytes`, or nothing where they are not one of the formats above (by content) or claim
    /// more than 16,384 pixels a side or 50 million in all. Reads the header only: no pixel is allocated.
    static std::optional<Artwork> decode(const QByteArray &bytes);

    /// Size in pixels, upright, as the header states it.
    [[nodiscard]] QSize size() const;

    /// The picture, upright, scaled to cover `pixels`, its overflow cut evenly off both sides; null where
    /// its body turns out to be damaged or `pixels` is empty. The last 32 MiB of results are kept.
    [[nodiscard]] QImage scaledToFill(QSize pixels) const;

    /// The encoded bytes, shared with every artwork of the same picture.
    [[nodiscard]] const QByteArray &encoded() const;

private:
    struct Picture;
    explicit Artwork(std::shared_ptr<const Picture> picture);

    static std::shared_ptr<const Picture> shared(const QByteArray &bytes);

    std::shared_ptr<const Picture> m_picture;
};
