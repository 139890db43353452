#pragma once

#include <QByteArrayView>
#include <QHashFunctions>

/// Tells pictures apart by all of their bytes: 128 bits, drawn anew in every process, so that nobody can make
/// two pictures that have the same one.
class Fingerprint {
public:
    Fingerprint() = default;
    explicit Fingerprint(QByteArrayView bytes);

    friend bool operator==(const Fingerprint &a, const Fingerprint &b) = default;
    friend std::size_t qHash(const Fingerprint &fingerprint, std::size_t seed = 0)
    {
        return qHash(fingerprint.m_first, seed);
    }

private:
    quint64 m_first = 0;
    quint64 m_second = 0;
};
