#pragma once

#include <QByteArray>
#include <QtEndian>

/// A page of Ogg with the checksum that its bytes need.
inline QByteArray withOggChecksum(QByteArray page)
{
    constexpr qsizetype offset = 22;
    QByteArray checksum(4, '\0');
    page.replace(offset, checksum.size(), checksum);
    quint32 sum = 0;
    for (const char byte : page) {
        sum ^= quint32(quint8(byte)) << 24;
        for (int bit = 0; bit < 8; ++bit)
            sum = sum << 1 ^ (sum >> 31 ? 0x04C1'1DB7 : 0);
    }
    qToLittleEndian(sum, checksum.data());
    return page.replace(offset, checksum.size(), checksum);
}
