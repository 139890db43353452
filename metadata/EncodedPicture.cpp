#include "metadata/EncodedPicture.h"

#include <QtEndian>

namespace {

/// Numbers of a TIFF structure in its byte order; 0 beyond its end.
class TiffBytes {
public:
    explicit TiffBytes(QByteArrayView bytes)
        : m_bytes(bytes)
        , m_isBigEndian(bytes.startsWith('M'))
    {
    }

    template <typename Number> [[nodiscard]] Number at(qint64 offset) const
    {
        if (offset + qint64(sizeof(Number)) > m_bytes.size())
            return 0;
        const char *place = m_bytes.data() + offset;
        return m_isBigEndian ? qFromBigEndian<Number>(place) : qFromLittleEndian<Number>(place);
    }

private:
    QByteArrayView m_bytes;
    bool m_isBigEndian;
};

QImageIOHandler::Transformations transformations(quint16 orientation)
{
    switch (orientation) {
    case 2:
        return QImageIOHandler::TransformationMirror;
    case 3:
        return QImageIOHandler::TransformationRotate180;
    case 4:
        return QImageIOHandler::TransformationFlip;
    case 5:
        return QImageIOHandler::TransformationFlipAndRotate90;
    case 6:
        return QImageIOHandler::TransformationRotate90;
    case 7:
        return QImageIOHandler::TransformationMirrorAndRotate90;
    case 8:
        return QImageIOHandler::TransformationRotate270;
    default:
        return QImageIOHandler::TransformationNone;
    }
}

} // namespace

void EncodedPicture::append(QByteArrayView part)
{
    const bool isNeighbour = !parts.isEmpty() && parts.last().end() == part.begin();
    if (isNeighbour)
        parts.last() = QByteArrayView(parts.last().begin(), part.end());
    else
        parts.append(part);
}

QImageIOHandler::Transformations exifOrientation(QByteArrayView exif)
{
    constexpr quint16 orientationTag = 0x0112;
    constexpr int entrySize = 12;
    if (!exif.startsWith(QByteArrayView("MM\0*", 4)) && !exif.startsWith(QByteArrayView("II*\0", 4)))
        return QImageIOHandler::TransformationNone;
    const TiffBytes tiff(exif);
    const qint64 directory = tiff.at<quint32>(4);
    const int entries = tiff.at<quint16>(directory);
    for (int i = 0; i < entries; ++i) {
        const qint64 entry = directory + 2 + qint64(i) * entrySize;
        if (tiff.at<quint16>(entry) == orientationTag)
            return transformations(tiff.at<quint16>(entry + 8));
    }
    return QImageIOHandler::TransformationNone;
}
