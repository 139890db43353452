#pragma once

#include "tests/NumberBytes.h"

/// Matroska files of a test's own making: mono, 8000 Hz, 16 bits.
namespace MatroskaFile {

/// `id` is hexadecimal.
inline QByteArray element(const char *id, const QByteArray &content)
{
    constexpr quint64 eightBytes = quint64(1) << 56;
    return QByteArray::fromHex(id) + bigEndian<quint64>(eightBytes | quint64(content.size())) + content;
}

/// A track with more fields than it needs.
inline QByteArray track(int number, const QByteArray &fields = {}, const QByteArray &codec = "A_PCM/INT/LIT")
{
    const QByteArray audio = element("b5", QByteArray::fromHex("45fa0000")) + element("9f", "\1")
        + element("6264", "\x10"); // 8000 as a float, a channel, bits
    return element("ae",
        element("d7", QByteArray(1, char(number))) + element("73c5", QByteArray(1, char(number)))
            + element("83", "\2") + element("86", codec) + fields + element("e1", audio));
}

/// A packet of the first track, so many milliseconds behind the beginning of its cluster.
inline QByteArray block(const QByteArray &packet, int time = 0)
{
    return element("a3", '\x81' + bigEndian<qint16>(qint16(time)) + '\x80' + packet);
}

/// The same with its own length, in milliseconds.
inline QByteArray blockOfLength(const QByteArray &packet, int time, int length)
{
    const QByteArray content = '\x81' + bigEndian<qint16>(qint16(time)) + '\0' + packet;
    return element("a0", element("a1", content) + element("9b", bigEndian(quint32(length))));
}

/// The file, with more elements before its cluster.
inline QByteArray encoded(const QByteArray &tracks, const QByteArray &more = {},
    const QByteArray &blocks = block(QByteArray(3200, '\x21')))
{
    const QByteArray type = element("4282", "matroska") + element("4287", "\4") + element("4285", "\2");
    const QByteArray information = element("1549a966", element("2ad7b1", QByteArray::fromHex("0f4240")));
    const QByteArray cluster = element("1f43b675", element("e7", QByteArray(1, '\0')) + blocks);
    return element("1a45dfa3", type)
        + element("18538067", information + element("1654ae6b", tracks) + more + cluster);
}

} // namespace MatroskaFile
