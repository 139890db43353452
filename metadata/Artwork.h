#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QHashFunctions>
#include <QList>
#include <QSize>
#include <QUrl>
#include <memory>
#include <optional>

/// Tells pictures apart by all of their bytes: 128 bits, drawn anew in every process, so that nobody can make
/// two pictures that have the same one.
class Fingerprint {
public:
    Fingerprint() = default;
    explicit Fingerprint(QByteArrayView bytes);

    friend bool operator==(const Fingerprint &a, const Fingerprint &b) = default;
    friend std::size_t qHash(const Fingerprint &fingerprint, std::size_t seed = 0)
    {
        return qHash(fingerprint.m_first, seed);
    }

private:
    quint64 m_first = 0;
    quint64 m_second = 0;
};

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
    [[nodiscard]] QSize size() const { return m_picture->size; }

    [[nodiscard]] const Fingerprint &fingerprint() const { return m_picture->fingerprint; }

    /// All files that carry this picture and have an artwork, in the order of their decoding.
    [[nodiscard]] const QList<QUrl> &files() const { return m_picture->files; }

private:
    struct Picture {
        Fingerprint fingerprint;
        QSize size;
        QList<QUrl> files;
    };
    explicit Artwork(std::shared_ptr<const Picture> picture);

    std::shared_ptr<const Picture> m_picture; ///< copies count as one: their last one takes the file off it
};
