#pragma once

#include "metadata/Artwork.h"
#include "metadata/MediaAsset.h"

#include <QList>
#include <QString>
#include <QUrl>
#include <QUuid>
#include <optional>

/// The length that is shown for a container's duration: seconds, 0 if that is not numeric or not finite.
double displayedDuration(const MediaTime &time);

/// One entry of the playlist: an audio file and what its metadata say of it.
///
/// A plain value. Two tracks are equal exactly when their ids are: a copy equals its original, the same file
/// admitted twice does not.
class Track {
public:
    /// Reads the file's metadata before it returns. Cannot fail: what the file does not carry, or cannot be
    /// read, keeps its default. Main thread, which it blocks meanwhile.
    explicit Track(const QUrl &url);

    /// The same if the file has been opened already as `asset`.
    Track(const QUrl &url, const MediaAsset &asset);

    [[nodiscard]] const QUuid &id() const { return m_id; }
    [[nodiscard]] const QUrl &url() const { return m_url; }
    /// What tells whether two tracks are of the same file: standardizedFilePath() of the URL, of a sandbox's document
    /// its path outside if the portal tells it.
    [[nodiscard]] const QByteArray &filePath() const { return m_filePath; }

    static const QString &unknownArtist(); ///< "Artista desconocido"
    static const QString &unknownAlbum(); ///< "Álbum desconocido"

    QString title; ///< the file name without its last extension if no title is stored
    QString artist; ///< unknownArtist() if none is stored
    QString album; ///< unknownAlbum() if none is stored
    double duration = 0; ///< seconds, always finite; the container's, not the audio player's
    std::optional<Artwork> artwork;

    friend bool operator==(const Track &a, const Track &b) { return a.m_id == b.m_id; }

private:
    void loadMetadata(const MediaAsset &asset);
    static std::optional<QString> metadataValue(
        CommonIdentifier identifier, const QList<MetadataItem> &items);

    QUuid m_id = QUuid::createUuid();
    QUrl m_url;
    QByteArray m_filePath;
};
