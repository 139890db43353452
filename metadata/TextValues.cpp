#include "metadata/TextValues.h"

#include <QStringDecoder>
#include <algorithm>

QString decodedText(QByteArrayView bytes, TextEncoding encoding)
{
    constexpr qsizetype sizeLimit = 256 << 10;
    bytes = bytes.first(std::min(bytes.size(), sizeLimit));
    switch (encoding) {
    case TextEncoding::Latin1:
        return QString::fromLatin1(bytes);
    case TextEncoding::Utf16:
        return QStringDecoder(QStringDecoder::Utf16)(bytes);
    case TextEncoding::Utf16BigEndian:
        return QStringDecoder(QStringDecoder::Utf16BE)(bytes);
    case TextEncoding::Utf8:
        return QString::fromUtf8(bytes);
    case TextEncoding::Unstated:
        return bytes.isValidUtf8() ? QString::fromUtf8(bytes) : QString::fromLatin1(bytes);
    }
    return {};
}

void appendTextValues(
    QList<MetadataItem> &items, CommonIdentifier identifier, QByteArrayView bytes, TextEncoding encoding)
{
    const QString text = decodedText(bytes, encoding);
    QStringView rest = text;
    while (items.size() < MaxItemsPerTag) {
        const qsizetype end = rest.indexOf(QChar::Null);
        QStringView value = end < 0 ? rest : rest.first(end);
        if (value.startsWith(QChar::ByteOrderMark))
            value = value.sliced(1);
        items.append({identifier, value.toString()});
        if (end < 0 || end + 1 == rest.size())
            return;
        rest = rest.sliced(end + 1);
    }
}
