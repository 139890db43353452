#include "platform/media/TagLibReader.h"

#include "platform/media/TagLibStream.h"

#include <algorithm>
#include <taglib/apefile.h>
#include <taglib/flacfile.h>
#include <taglib/id3v2framefactory.h>
#include <taglib/mp4file.h>
#include <taglib/mpcfile.h>
#include <taglib/oggflacfile.h>
#include <taglib/opusfile.h>
#include <taglib/speexfile.h>
#include <taglib/vorbisfile.h>
#include <taglib/wavpackfile.h>
#include <taglib/xiphcomment.h>

namespace {

QByteArray bytesOf(const TagLib::ByteVector &data)
{
    return {data.data(), static_cast<qsizetype>(data.size())};
}

/// TagLib keeps UTF-16 in its wide characters; its own conversion drops a text with one wrong unit.
QString textOf(const TagLib::String &text)
{
    QString result(static_cast<qsizetype>(text.size()), Qt::Uninitialized);
    std::transform(
        text.begin(), text.end(), result.begin(), [](wchar_t unit) { return QChar(char16_t(unit)); });
    return result;
}

void append(QList<MetadataItem> &items, CommonIdentifier identifier, const TagLib::StringList &values)
{
    for (const TagLib::String &value : values) {
        if (items.size() < MaxItemsPerTag)
            items.append({identifier, textOf(value)});
    }
}

void append(QList<MetadataItem> &items, const TagLib::List<TagLib::FLAC::Picture *> &pictures)
{
    for (const TagLib::FLAC::Picture *picture : pictures) {
        if (items.size() < MaxItemsPerTag)
            items.append({CommonIdentifier::Artwork, bytesOf(picture->data())});
    }
}

QList<MetadataItem> itemsOf(TagLib::Ogg::XiphComment *comment)
{
    QList<MetadataItem> items;
    if (!comment)
        return items;
    const TagLib::Ogg::FieldListMap &fields = comment->fieldListMap();
    append(items, CommonIdentifier::Title, fields["TITLE"]);
    append(items, CommonIdentifier::Artist, fields["ARTIST"]);
    append(items, CommonIdentifier::AlbumName, fields["ALBUM"]);
    append(items, comment->pictureList());
    return items;
}

QList<MetadataItem> itemsOf(TagLib::FLAC::File &file)
{
    QList<MetadataItem> items;
    append(items, file.pictureList());
    return items + itemsOf(file.xiphComment());
}

QList<MetadataItem> itemsOf(TagLib::MP4::Tag *tag)
{
    QList<MetadataItem> items;
    if (!tag)
        return items;
    append(items, CommonIdentifier::Title, tag->item("\251nam").toStringList());
    append(items, CommonIdentifier::Artist, tag->item("\251ART").toStringList());
    append(items, CommonIdentifier::AlbumName, tag->item("\251alb").toStringList());
    for (const TagLib::MP4::CoverArt &cover : tag->item("covr").toCoverArtList()) {
        if (items.size() < MaxItemsPerTag)
            items.append({CommonIdentifier::Artwork, bytesOf(cover.data())});
    }
    return items;
}

/// The formats whose tags are those at the file's ends, which are read before.
QList<MetadataItem> itemsOf(TagLib::Tag *)
{
    return {};
}

MediaTime durationOf(const TagLib::AudioProperties *properties)
{
    const int milliseconds = properties ? properties->lengthInMilliseconds() : 0;
    return milliseconds > 0 ? MediaTime{milliseconds, 1000} : MediaTime{};
}

template <typename File> MediaContents contentsOf(File &&file)
{
    if (!file.isValid())
        return {};
    if constexpr (std::is_same_v<File, TagLib::FLAC::File>)
        return {durationOf(file.audioProperties()), itemsOf(file)};
    else
        return {durationOf(file.audioProperties()), itemsOf(file.tag())};
}

TagLib::FLAC::File flacFile(TagLib::IOStream &stream)
{
#if TAGLIB_MAJOR_VERSION >= 2
    return TagLib::FLAC::File(&stream);
#else
    return TagLib::FLAC::File(&stream, TagLib::ID3v2::FrameFactory::instance());
#endif
}

} // namespace

MediaContents readByTagLib(MediaSource &source, MediaFormat format)
{
    TagLibStream stream(source);
    switch (format) {
    case MediaFormat::Flac:
        return contentsOf(flacFile(stream));
    case MediaFormat::OggVorbis:
        return contentsOf(TagLib::Ogg::Vorbis::File(&stream));
    case MediaFormat::OggOpus:
        return contentsOf(TagLib::Ogg::Opus::File(&stream));
    case MediaFormat::OggSpeex:
        return contentsOf(TagLib::Ogg::Speex::File(&stream));
    case MediaFormat::OggFlac:
        return contentsOf(TagLib::Ogg::FLAC::File(&stream));
    case MediaFormat::Mp4:
        return contentsOf(TagLib::MP4::File(&stream));
    case MediaFormat::WavPack:
        return contentsOf(TagLib::WavPack::File(&stream));
    case MediaFormat::MonkeysAudio:
        return contentsOf(TagLib::APE::File(&stream));
    case MediaFormat::Musepack:
        return contentsOf(TagLib::MPC::File(&stream));
    case MediaFormat::Wav:
    case MediaFormat::Aiff:
    case MediaFormat::Asf:
    case MediaFormat::Other:
        return {};
    }
    return {};
}
