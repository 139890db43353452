#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QtEndian>
#include <algorithm>
#include <cstring>
#include <utility>

/// Takes fields from the front of bytes; what these do not hold is empty or 0.
class Fields {
public:
    /// Borrows the bytes.
    explicit Fields(QByteArrayView bytes)
        : m_rest(bytes)
    {
    }
    explicit Fields(QByteArray bytes)
        : m_bytes(std::move(bytes))
        , m_rest(m_bytes)
    {
    }

    [[nodiscard]] bool isEmpty() const { return m_rest.isEmpty(); }
    [[nodiscard]] QByteArrayView rest() const { return m_rest; }

    QByteArrayView take(quint64 length)
    {
        const auto taken = m_rest.first(qsizetype(std::min(length, quint64(m_rest.size()))));
        m_rest = m_rest.sliced(taken.size());
        return taken;
    }

    /// `Number` is one of Qt's types with a byte order.
    template <typename Number> auto number()
    {
        const QByteArrayView bytes = take(sizeof(Number));
        Number number(0);
        if (bytes.size() == sizeof(Number))
            std::memcpy(&number, bytes.data(), sizeof(Number));
        return decltype(number + 0)(number);
    }

private:
    QByteArray m_bytes;
    QByteArrayView m_rest;
};
