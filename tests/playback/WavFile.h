#pragma once

#include <QByteArray>
#include <QDataStream>
#include <QFile>
#include <QString>
#include <QtEndian>
#include <cstdint>
#include <cstring>
#include <span>
#include <vector>

/// Small float WAV files for tests.
namespace WavFile {

/// Frame `n` of channel `c` holds a value that no other nearby frame holds: (n mod 65,536 + c / 2) / 65,536.
inline std::vector<float> countingSamples(std::int64_t frames, int channels)
{
    std::vector<float> samples;
    samples.reserve(size_t(frames * channels));
    for (std::int64_t frame = 0; frame < frames; ++frame)
        for (int channel = 0; channel < channels; ++channel)
            samples.push_back((float(frame % 65536) + float(channel) * 0.5F) / 65536.0F);
    return samples;
}

/// The position-coded signal: right 0.8, left 0.2 + 0.6 t / `seconds`; gain and track position can be read
/// off every captured frame.
inline std::vector<float> positionCodedSamples(int rate, double seconds)
{
    std::vector<float> samples;
    const auto frames = std::int64_t(rate * seconds);
    for (std::int64_t frame = 0; frame < frames; ++frame) {
        samples.push_back(float(0.2 + 0.6 * double(frame) / double(frames)));
        samples.push_back(0.8F);
    }
    return samples;
}

inline QByteArray encoded(std::span<const float> samples, int rate, int channels)
{
    const auto dataSize = quint32(samples.size_bytes());
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream.setByteOrder(QDataStream::LittleEndian);
    stream.writeRawData("RIFF", 4);
    stream << quint32(36 + dataSize);
    stream.writeRawData("WAVEfmt ", 8);
    stream << quint32(16) << quint16(3) << quint16(channels) << quint32(rate) << quint32(rate * channels * 4)
           << quint16(channels * 4) << quint16(32);
    stream.writeRawData("data", 4);
    stream << dataSize;
    QByteArray data(reinterpret_cast<const char *>(samples.data()), qsizetype(dataSize));
    return bytes + data;
}

/// Writes `bytes` to a new file; answers whether all of them went there.
inline bool save(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

} // namespace WavFile
