#pragma once

#include <QByteArray>
#include <QtEndian>

/// The four bytes of a number as most containers write it.
inline QByteArray bigEndian(quint32 number)
{
    QByteArray bytes(4, Qt::Uninitialized);
    qToBigEndian(number, bytes.data());
    return bytes;
}
