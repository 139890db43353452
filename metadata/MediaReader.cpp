#include "metadata/MediaReader.h"

#include "decoder/DecoderModule.h"
#include "files/LocalFile.h"
#include "metadata/AsfReader.h"
#include "metadata/FlacReader.h"
#include "metadata/FrameScan.h"
#include "metadata/Id3v2Tag.h"
#include "metadata/MediaFormat.h"
#include "metadata/MediaSource.h"
#include "metadata/Mp4Duration.h"
#include "metadata/Mp4Tags.h"
#include "metadata/OggReader.h"
#include "metadata/RiffReader.h"
#include "metadata/StatedDuration.h"
#include "metadata/TrailingTags.h"

namespace {

/// Some writers put a new tag in front of the old one instead of in its place.
QList<MetadataItem> takeId3v2Tags(MediaSource &source)
{
    constexpr int tagLimit = 64;
    QList<QList<MetadataItem>> tags;
    for (int i = 0; i < tagLimit; ++i) {
        const qint64 size = id3v2TagSize(source.read(0, Id3v2HeaderSize));
        if (size == 0)
            break;
        tags.append(id3v2Items(source.readTag(0, size)));
        source.dropFront(size);
    }
    return mergedTags(tags);
}

MediaContents readContent(MediaSource &source)
{
    const MediaFormat format = mediaFormat(source.read(0, MediaFormatHeadSize));
    switch (format) {
    case MediaFormat::Flac:
        return readFlac(source);
    case MediaFormat::OggVorbis:
    case MediaFormat::OggOpus:
    case MediaFormat::OggSpeex:
    case MediaFormat::OggFlac:
        return readOgg(source, format);
    case MediaFormat::Mp4:
        return {mp4Duration(source), mp4Items(source)};
    case MediaFormat::Asf:
        return readAsf(source);
    case MediaFormat::Wav:
        return readWav(source);
    case MediaFormat::Aiff:
        return readAiff(source);
    case MediaFormat::Dsf:
        return readDsf(source);
    case MediaFormat::Dsdiff:
        return readDsdiff(source);
    case MediaFormat::WavPack:
        return {wavPackDuration(source), {}};
    case MediaFormat::Musepack:
        return {musepackDuration(source), {}};
    case MediaFormat::Other:
        return {scannedDuration(source), {}};
    }
    return {};
}

/// The tags at the file's ends are taken off first, so that a reader of the content finds what it expects.
MediaContents readFile(MediaSource &source)
{
    const QList<MetadataItem> id3v1 = takeId3v1Tag(source);
    const QList<MetadataItem> ape = takeApeTag(source);
    const QList<MetadataItem> id3v2 = takeId3v2Tags(source);
    const MediaContents content = readContent(source);
    return {content.duration, mergedTags({content.items, id3v2, ape, id3v1})};
}

/// Slower by a hundred times than the readers above, and so only asked where these cannot tell the length.
MediaContents readByDecoder(FileDescriptor file)
{
    const auto module = DecoderModule::load();
    if (module.isError())
        return {};
    const ProbedMedia probed = module.value()->probe(std::move(file));

    MediaContents contents;
    if (probed.duration)
        contents.duration = MediaTime::fromSeconds(*probed.duration);
    if (probed.title)
        contents.items.append({CommonIdentifier::Title, *probed.title});
    if (probed.artist)
        contents.items.append({CommonIdentifier::Artist, *probed.artist});
    if (probed.album)
        contents.items.append({CommonIdentifier::AlbumName, *probed.album});
    if (probed.picture)
        contents.items.append({CommonIdentifier::Artwork, *probed.picture});
    return contents;
}

} // namespace

MediaContents readMedia(const QUrl &url)
{
    Result<FileDescriptor> file = openRegularFile(url);
    if (file.isError())
        return {};

    MediaSource source(file.value().get());
    MediaContents contents = readFile(source);
    if (contents.duration.isNumeric() || source.size() == 0)
        return contents;
    const MediaContents decoded = readByDecoder(file.take());
    return {decoded.duration, mergedTags({contents.items, decoded.items})};
}
