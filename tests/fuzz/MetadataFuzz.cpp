// Reads the metadata of any bytes, as a file is read that is added to the playlist.

#include "metadata/MediaAsset.h"
#include "metadata/PictureDecoder.h"
#include "tests/MemoryFile.h"
#include "tests/fuzz/FuzzTarget.h"

#include <QImage>

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const MemoryFile file(QByteArray::fromRawData(reinterpret_cast<const char *>(data), qsizetype(size)));
    const MediaAsset asset = readMedia(file.url());
    if (asset.duration.isNumeric() && asset.duration.seconds() < 0)
        qFatal("A length is negative.");
    for (const MetadataItem &item : asset.commonMetadata) {
        if (item.stringValue.has_value() == item.dataValue.has_value())
            qFatal("An item is neither text nor data.");
        if (!item.dataValue)
            continue;
        const std::atomic<bool> isAbandoned = false;
        (void)decodedPicture(*item.dataValue, {64, 64}, isAbandoned);
    }
    return 0;
}
