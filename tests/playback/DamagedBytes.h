#pragma once

#include <QByteArray>
#include <QRandomGenerator>
#include <QtEndian>
#include <algorithm>

/// Damage as media suffer it, and as people with bad intentions do it.
namespace DamagedBytes {

/// One place of `bytes`, which must not be empty, made wrong at random. Headers are hit more often than their
/// share.
inline QByteArray corruptedOnce(QByteArray bytes, QRandomGenerator &random)
{
    constexpr quint32 extremes[] = {0, 1, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFE, 0xFFFFFFFF};
    const qsizetype reach = random.bounded(2) ? std::min<qsizetype>(bytes.size(), 512) : bytes.size();
    const qsizetype place = random.bounded(qint64(reach));
    const qsizetype length = std::min<qsizetype>(1 + random.bounded(64), bytes.size() - place);
    switch (random.bounded(6)) {
    case 0:
        bytes[place] = char(bytes[place] ^ (1 << random.bounded(8)));
        break;
    case 1:
        std::generate_n(bytes.begin() + place, length, [&random] { return char(random.generate()); });
        break;
    case 2:
        std::fill_n(bytes.begin() + place, length, '\0');
        break;
    case 3:
        bytes.remove(place, length);
        break;
    case 4:
        bytes.insert(place, bytes.sliced(place, length));
        break;
    default:
        if (bytes.size() - place >= 4)
            qToBigEndian(extremes[random.bounded(int(std::size(extremes)))], bytes.data() + place);
    }
    return bytes;
}

/// `bytes` with one to eight places made wrong, always the same ones for the same seed.
inline QByteArray corrupted(QByteArray bytes, quint32 seed)
{
    QRandomGenerator random(seed);
    for (int count = 1 + random.bounded(8); count > 0 && !bytes.isEmpty(); --count)
        bytes = corruptedOnce(bytes, random);
    return bytes;
}

} // namespace DamagedBytes
