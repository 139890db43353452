#include "metadata/MediaAsset.h"

#include "decoder/DecoderModule.h"
#include "decoder/Id3v2Header.h"
#include "decoder/MediaSource.h"
#include "files/DetachedThread.h"
#include "files/LocalFile.h"
#include "files/Sandbox.h"
#include "metadata/FormatReaders.h"
#include "metadata/TagValues.h"

#include <array>
#include <utility>

namespace {

/// How the files of a format begin, whatever their names are.
struct Format {
    QByteArrayView begin;
    qsizetype offset;
    QByteArrayView mark; ///< at the offset
    MediaAsset (*read)(MediaSource &source);
};

/// All others are MPEG audio or ADTS AAC, which have no mark but their frames, or only FFmpeg reads them.
constexpr std::array Formats{
    Format{"fLaC", 0, "", readFlac},
    Format{"OggS", 0, "", readOgg},
    Format{"", 4, "ftyp", readMp4},
    Format{"\x30\x26\xb2\x75\x8e\x66\xcf\x11", 0, "", readAsf},
    Format{"RIFF", 8, "WAVE", readWav},
    Format{"FORM", 8, "AIFF", readAiff},
    Format{"FORM", 8, "AIFC", readAiff},
    Format{"DSD ", 0, "", readDsf},
    Format{"FRM8", 12, "DSD ", readDsdiff},
    Format{"wvpk", 0, "", readWavPack},
    Format{"MPCKSH", 0, "", readMusepack},
};

/// Of MPEG audio, of which a GaplessComment in front of it may tell more.
MediaTime soundDuration(MediaSource &source, const std::optional<GaplessComment> &comment)
{
    MediaTime duration = scannedDuration(source);
    if (comment && duration.isNumeric() && comment->agreesWith(duration.value))
        duration.value = comment->length;
    return duration;
}

MediaAsset readContent(MediaSource &source, const std::optional<GaplessComment> &comment)
{
    constexpr qint64 headSize = 16; // bytes, with all marks
    const QByteArray head = source.read(0, headSize);
    for (const Format &format : Formats) {
        if (head.startsWith(format.begin) && head.mid(format.offset).startsWith(format.mark))
            return format.read(source);
    }
    return {soundDuration(source, comment), {}};
}

/// Some writers put a new tag in front of the old one instead of in its place.
QList<MetadataItem> takeId3v2Tags(MediaSource &source, std::optional<GaplessComment> &comment)
{
    constexpr int tagLimit = 64;
    QList<QList<MetadataItem>> tags;
    for (int i = 0; i < tagLimit; ++i) {
        const qint64 size = id3v2TagSize(source.read(0, Id3v2HeaderSize));
        if (size == 0)
            break;
        tags.append(id3v2Items(source.readTag(0, size), &comment));
        source.dropFront(size);
    }
    return mergedTags(tags);
}

/// The tags at the file's ends are taken off first, so that a reader of the content finds what it expects.
MediaAsset readFile(MediaSource &source)
{
    const QList<MetadataItem> id3v1 = takeId3v1Tag(source);
    const QList<MetadataItem> ape = takeApeTag(source);
    std::optional<GaplessComment> comment;
    const QList<MetadataItem> id3v2 = takeId3v2Tags(source, comment);
    const MediaAsset content = readContent(source, comment);
    return {content.duration, mergedTags({content.commonMetadata, id3v2, ape, id3v1})};
}

/// Slower by a hundred times than the readers above, and so only asked if these cannot tell the length.
MediaAsset readByDecoder(FileDescriptor file)
{
    const auto module = DecoderModule::load();
    if (module.isError())
        return {};
    const ProbedMedia probed = module.value()->probe(std::move(file));

    MediaAsset asset;
    if (probed.duration)
        asset.duration = MediaTime::fromSeconds(*probed.duration);
    asset.commonMetadata = {
        {CommonIdentifier::Title, probed.title},
        {CommonIdentifier::Artist, probed.artist},
        {CommonIdentifier::AlbumName, probed.album},
        {CommonIdentifier::Artwork, {}, probed.picture},
    };
    return asset;
}

} // namespace

MediaAsset readMedia(const QUrl &url)
{
    Result<FileDescriptor> file = openRegularFile(url);
    if (file.isError())
        return {};

    MediaSource source(file.value().get());
    MediaAsset asset = readFile(source);
    asset.hostPath = documentHostPath(standardizedFilePath(url), file.value().get());
    if (asset.duration.isNumeric() || source.size() == 0)
        return asset;
    const MediaAsset decoded = readByDecoder(file.take());
    return {decoded.duration, mergedTags({asset.commonMetadata, decoded.commonMetadata}), asset.hostPath};
}

MediaAsset openMedia(const QUrl &url)
{
    return callWithTimeout([url] { return readMedia(url); }).value_or(MediaAsset());
}
