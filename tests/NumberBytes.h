#pragma once

#include <QByteArray>
#include <QtEndian>
#include <type_traits>

/// The bytes of a number in a file: four, unless another type is named.
template <typename T = quint32> QByteArray bigEndian(std::type_identity_t<T> number)
{
    QByteArray bytes(sizeof(T), Qt::Uninitialized);
    qToBigEndian<T>(number, bytes.data());
    return bytes;
}

template <typename T = quint32> QByteArray littleEndian(std::type_identity_t<T> number)
{
    QByteArray bytes(sizeof(T), Qt::Uninitialized);
    qToLittleEndian<T>(number, bytes.data());
    return bytes;
}

/// A size as ID3v2 has it: four bytes of seven bits.
inline QByteArray syncsafe(qsizetype number)
{
    QByteArray bytes;
    for (const int shift : {21, 14, 7, 0})
        bytes.append(char(number >> shift & 0x7F));
    return bytes;
}
