#include "platform/media/RiffReader.h"

#include "platform/media/Id3v2Tag.h"
#include "platform/media/MergedTags.h"
#include "platform/media/TextValues.h"

#include <QStringDecoder>
#include <QtEndian>
#include <algorithm>
#include <cmath>
#include <functional>

namespace {

constexpr int ChunkLimit = 1000;
constexpr qint64 TagSizeLimit = 64 << 20;
constexpr qint64 FileHeaderSize = 12; // "RIFF", size, kind of file
constexpr qint64 ChunkHeaderSize = 8;

struct Chunk {
    QByteArray name;
    qint64 offset = 0; ///< of its data
    qint64 size = 0; ///< of its data, as far as the file goes
};

/// Calls `use` with every chunk from `offset` on; the sizes are numbers of the type `Number`.
template <typename Number>
void forEachChunk(MediaSource &source, qint64 offset, const std::function<void(const Chunk &)> &use)
{
    for (int i = 0; i < ChunkLimit && offset + ChunkHeaderSize <= source.size(); ++i) {
        const QByteArray header = source.read(offset, ChunkHeaderSize);
        if (header.size() < ChunkHeaderSize)
            return;
        Number size;
        std::memcpy(&size, header.constData() + 4, sizeof size);
        offset += ChunkHeaderSize;
        use({header.first(4), offset, std::min<qint64>(size, source.size() - offset)});
        offset += qint64(size) + (size & 1);
    }
}

bool isId3(const QByteArray &name)
{
    return name == "ID3 " || name == "id3 ";
}

QList<MetadataItem> id3Items(MediaSource &source, const Chunk &chunk)
{
    return id3v2Items(source.read(chunk.offset, std::min(chunk.size, TagSizeLimit)));
}

/// Nobody says in which encoding these texts are; UTF-8 shows itself.
QString infoText(QByteArrayView bytes)
{
    QStringDecoder decoder(QStringDecoder::Utf8);
    const QString text = decoder(bytes);
    return decoder.hasError() ? QString::fromLatin1(bytes) : text;
}

QList<MetadataItem> infoItems(const QByteArray &list)
{
    QList<MetadataItem> items;
    qsizetype offset = 4; // "INFO"
    while (offset + ChunkHeaderSize <= list.size() && items.size() < MaxItemsPerTag) {
        const QByteArrayView name = QByteArrayView(list).sliced(offset, 4);
        const qsizetype stated = qFromLittleEndian<quint32>(list.constData() + offset + 4);
        offset += ChunkHeaderSize;
        const auto value = QByteArrayView(list).sliced(offset, std::min(stated, list.size() - offset));
        if (name == "INAM")
            appendTextValues(items, CommonIdentifier::Title, infoText(value));
        else if (name == "IART")
            appendTextValues(items, CommonIdentifier::Artist, infoText(value));
        else if (name == "IPRD")
            appendTextValues(items, CommonIdentifier::AlbumName, infoText(value));
        offset += stated + (stated & 1);
    }
    return items;
}

MediaTime milliseconds(double seconds)
{
    constexpr double longest = 1e9; // seconds; longer ones are damage
    return seconds >= 0 && seconds <= longest ? MediaTime{std::llround(seconds * 1000), 1000} : MediaTime{};
}

/// An 80-bit float of the Motorola 68881, as AIFF states its sample rate.
double extendedFloat(const char *bytes)
{
    const int exponent = (qFromBigEndian<quint16>(bytes) & 0x7FFF) - 16383 - 63;
    return std::ldexp(double(qFromBigEndian<quint64>(bytes + 2)), exponent);
}

} // namespace

MediaContents readWav(MediaSource &source)
{
    double bytesPerSecond = 0;
    qint64 dataSize = 0;
    QList<MetadataItem> id3, info;
    forEachChunk<quint32_le>(source, FileHeaderSize, [&](const Chunk &chunk) {
        if (chunk.name == "fmt " && chunk.size >= 12)
            bytesPerSecond = qFromLittleEndian<quint32>(source.read(chunk.offset, 12).constData() + 8);
        else if (chunk.name == "data")
            dataSize = chunk.size;
        else if (isId3(chunk.name))
            id3 = id3Items(source, chunk);
        else if (chunk.name == "LIST" && source.read(chunk.offset, 4) == "INFO")
            info = infoItems(source.read(chunk.offset, std::min(chunk.size, TagSizeLimit)));
    });
    const MediaTime duration =
        bytesPerSecond > 0 ? milliseconds(double(dataSize) / bytesPerSecond) : MediaTime{};
    return {duration, mergedTags({id3, info})};
}

MediaContents readAiff(MediaSource &source)
{
    MediaContents contents;
    forEachChunk<quint32_be>(source, FileHeaderSize, [&](const Chunk &chunk) {
        if (chunk.name == "COMM" && chunk.size >= 18) {
            const QByteArray common = source.read(chunk.offset, 18); // channels 2, frames 4, bits 2, rate 10
            const double frames = qFromBigEndian<quint32>(common.constData() + 2);
            contents.duration = milliseconds(frames / extendedFloat(common.constData() + 8));
        } else if (isId3(chunk.name)) {
            contents.items = id3Items(source, chunk);
        }
    });
    return contents;
}
