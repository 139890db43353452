#pragma once

#include "metadata/Fingerprint.h"

#include <QByteArray>
#include <QList>
#include <QSize>
#include <QUrl>
#include <memory>
#include <optional>

/// A cover picture that lies in a file: JPEG, PNG, WebP, GIF or BMP.
///
/// A small value without the picture's bytes: these are read again from the file by an ArtworkLoader when it is
/// drawn. Artworks of the same picture know each other's files. Main thread only.
class Artwork {
public:
    /// The picture in `bytes`, which `file` carries as its first one, or nothing if they are no picture within
    /// reason: see readPicture(). Reads headers only: no pixel is allocated.
    static std::optional<Artwork> decode(const QByteArray &bytes, const QUrl &file);

    /// Size in pixels, upright, as the header states it.
    [[nodiscard]] QSize size() const;

    [[nodiscard]] const Fingerprint &fingerprint() const;

    /// All files that carry this picture and have an artwork, in the order of their decoding.
    [[nodiscard]] const QList<QUrl> &files() const;

private:
    struct Picture;
    struct Place;
    explicit Artwork(std::shared_ptr<const Place> place);

    static std::shared_ptr<Picture> shared(const QByteArray &bytes);

    std::shared_ptr<const Place> m_place; ///< shared by copies
};
