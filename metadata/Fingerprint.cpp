#include "metadata/Fingerprint.h"

#include <QRandomGenerator>

namespace {

struct Seeds {
    std::size_t first = QRandomGenerator::system()->generate64();
    std::size_t second = QRandomGenerator::system()->generate64();
};

} // namespace

Fingerprint::Fingerprint(QByteArrayView bytes)
{
    static const Seeds seeds;
    const auto size = std::size_t(bytes.size());
    m_first = qHashBits(bytes.data(), size, seeds.first);
    m_second = qHashBits(bytes.data(), size, seeds.second);
}
