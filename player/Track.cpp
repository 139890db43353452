#include "player/Track.h"

#include "files/LocalFile.h"

#include <QCoreApplication>
#include <cmath>

namespace {

/// Only the last extension goes; a leading dot starts a name, it does not end one.
QString withoutPathExtension(const QString &fileName)
{
    const qsizetype dot = fileName.lastIndexOf(u'.');
    const bool hasExtension = dot > 0 && dot < fileName.size() - 1;
    return hasExtension ? fileName.first(dot) : fileName;
}

void replaceUnlessEmpty(QString &field, const std::optional<QString> &value)
{
    if (value && !value->isEmpty())
        field = *value;
}

} // namespace

// All tracks share these.

const QString &Track::unknownArtist()
{
    static const QString text = QCoreApplication::translate("Track", "Artista desconocido");
    return text;
}

const QString &Track::unknownAlbum()
{
    static const QString text = QCoreApplication::translate("Track", "Álbum desconocido");
    return text;
}

double displayedDuration(const MediaTime &time)
{
    return time.isNumeric() && std::isfinite(time.seconds()) ? time.seconds() : 0;
}

Track::Track(const QUrl &url)
    : Track(url, openMedia(url))
{
}

Track::Track(const QUrl &url, const MediaAsset &asset)
    : title(withoutPathExtension(localFileName(url)))
    , artist(unknownArtist())
    , album(unknownAlbum())
    , m_url(url)
    , m_filePath(asset.hostPath.isEmpty() ? standardizedFilePath(url) : asset.hostPath)
{
    loadMetadata(asset);
}

void Track::loadMetadata(const MediaAsset &asset)
{
    duration = displayedDuration(asset.duration);

    const QList<MetadataItem> &metadata = asset.commonMetadata;
    replaceUnlessEmpty(title, metadataValue(CommonIdentifier::Title, metadata));
    replaceUnlessEmpty(artist, metadataValue(CommonIdentifier::Artist, metadata));
    replaceUnlessEmpty(album, metadataValue(CommonIdentifier::AlbumName, metadata));

    artwork = Artwork::decode(asset.firstPicture(), m_url);
}

std::optional<QString> Track::metadataValue(CommonIdentifier identifier, const QList<MetadataItem> &items)
{
    const QList<MetadataItem> matches = metadataItems(items, identifier);
    return matches.isEmpty() ? std::nullopt : matches.first().stringValue;
}
