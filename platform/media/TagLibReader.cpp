#include "platform/media/TagLibReader.h"

#include "platform/media/TagLibStream.h"

#include <algorithm>
#include <taglib/apefile.h>
#include <taglib/mp4file.h>
#include <taglib/mpcfile.h>
#include <taglib/wavpackfile.h>

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
    return {durationOf(file.audioProperties()), itemsOf(file.tag())};
}

} // namespace

MediaContents readByTagLib(MediaSource &source, MediaFormat format)
{
    TagLibStream stream(source);
    switch (format) {
    case MediaFormat::Mp4:
        return contentsOf(TagLib::MP4::File(&stream));
    case MediaFormat::WavPack:
        return contentsOf(TagLib::WavPack::File(&stream));
    case MediaFormat::MonkeysAudio:
        return contentsOf(TagLib::APE::File(&stream));
    case MediaFormat::Musepack:
        return contentsOf(TagLib::MPC::File(&stream));
    default:
        return {};
    }
}
