#include "platform/media/TextValues.h"

#include "platform/media/MediaContents.h"

void appendTextValues(QList<MetadataItem> &items, CommonIdentifier identifier, QStringView text)
{
    do {
        const qsizetype end = text.indexOf(QChar::Null);
        QStringView value = end < 0 ? text : text.first(end);
        if (value.startsWith(QChar::ByteOrderMark))
            value = value.sliced(1);
        items.append({identifier, value.toString()});
        text = end < 0 ? QStringView() : text.sliced(end + 1);
    } while (!text.isEmpty() && items.size() < MaxItemsPerTag);
}
