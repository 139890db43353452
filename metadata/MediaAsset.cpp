#include "metadata/MediaAsset.h"

#include "decoder/DecoderModule.h"
#include "decoder/Id3v2Header.h"
#include "files/DetachedThread.h"
#include "files/LocalFile.h"
#include "metadata/FormatReaders.h"
#include "metadata/MediaSource.h"

#include <array>
#include <utility>

namespace {

enum class MediaFormat {
    Flac,
    OggVorbis,
    OggOpus,
    OggSpeex,
    OggFlac,
    Mp4,
    Asf,
    Wav,
    Aiff,
    Dsf,
    Dsdiff,
    WavPack,
    Musepack,
    Other, ///< MPEG audio and ADTS AAC, which have no mark but their frames, and everything else
};

struct Mark {
    qsizetype offset;
    QByteArrayView bytes;
    MediaFormat format;
};

constexpr qsizetype OggPayload = 28; // behind the header of a first page, which holds one packet

constexpr std::array Marks{
    Mark{0, "fLaC", MediaFormat::Flac},
    Mark{OggPayload, "\x01vorbis", MediaFormat::OggVorbis},
    Mark{OggPayload, "OpusHead", MediaFormat::OggOpus},
    Mark{OggPayload, "Speex   ", MediaFormat::OggSpeex},
    Mark{OggPayload, "\177FLAC", MediaFormat::OggFlac},
    Mark{4, "ftyp", MediaFormat::Mp4},
    Mark{0, "\x30\x26\xb2\x75\x8e\x66\xcf\x11", MediaFormat::Asf},
    Mark{8, "WAVE", MediaFormat::Wav},
    Mark{8, "AIFF", MediaFormat::Aiff},
    Mark{8, "AIFC", MediaFormat::Aiff},
    Mark{0, "DSD ", MediaFormat::Dsf},
    Mark{12, "DSD ", MediaFormat::Dsdiff},
    Mark{0, "wvpk", MediaFormat::WavPack},
    Mark{0, "MPCKSH", MediaFormat::Musepack},
};

/// What encloses a mark that could stand in any file by chance.
QByteArrayView enclosure(MediaFormat format)
{
    switch (format) {
    case MediaFormat::OggVorbis:
    case MediaFormat::OggOpus:
    case MediaFormat::OggSpeex:
    case MediaFormat::OggFlac:
        return "OggS";
    case MediaFormat::Wav:
        return "RIFF";
    case MediaFormat::Aiff:
        return "FORM";
    case MediaFormat::Dsdiff:
        return "FRM8";
    default:
        return {};
    }
}

/// The format of a file by its first bytes, whatever its name is.
MediaFormat mediaFormat(QByteArrayView head)
{
    for (const Mark &mark : Marks) {
        if (head.size() >= mark.offset && head.sliced(mark.offset).startsWith(mark.bytes)
            && head.startsWith(enclosure(mark.format)))
            return mark.format;
    }
    return MediaFormat::Other;
}

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
    constexpr qint64 headSize = 64; // bytes, with all marks
    switch (mediaFormat(source.read(0, headSize))) {
    case MediaFormat::Flac:
        return readFlac(source);
    case MediaFormat::OggVorbis:
        return readOgg(source, OggCodec::Vorbis);
    case MediaFormat::OggOpus:
        return readOgg(source, OggCodec::Opus);
    case MediaFormat::OggSpeex:
        return readOgg(source, OggCodec::Speex);
    case MediaFormat::OggFlac:
        return readOgg(source, OggCodec::Flac);
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

/// Slower by a hundred times than the readers above, and so only asked if these cannot tell the length.
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

MediaAsset::MediaAsset(const QUrl &url)
    : MediaAsset(callWithTimeout([url] { return readMedia(url); }).value_or(MediaContents()))
{
}

MediaAsset::MediaAsset(MediaContents contents)
    : m_duration(contents.duration)
    , m_commonMetadata(std::move(contents.items))
{
}

QByteArray MediaAsset::firstPicture() const
{
    const QList<MetadataItem> pictures = metadataItems(m_commonMetadata, CommonIdentifier::Artwork);
    return pictures.isEmpty() ? QByteArray() : pictures.first().dataValue().value_or(QByteArray());
}
