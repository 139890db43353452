#pragma once

#include "decoder/Decoder.h"
#include "tests/playback/WavFile.h"

#include <algorithm>
#include <atomic>
#include <fcntl.h>
#include <memory>
#include <optional>
#include <thread>
#include <unistd.h>
#include <vector>

/// A decoder of the position-coded signal that can be told how to fail.
class FakeDecoder final : public Decoder {
public:
    static constexpr int rate = 48000;

    struct Script {
        double seconds = 10;
        double claimedSeconds = 10;
        bool isGuessed = false;
        bool isDamaged = false;
        double failsAt = 1e9; ///< seconds; reading on from there is an error
        std::shared_ptr<std::atomic<bool>> isReading = nullptr; ///< set with the first read()
        std::shared_ptr<std::atomic<bool>> isGone = nullptr; ///< set where the decoder is destroyed
        double neverReaches = -1; ///< seconds; a seek there lasts until it is obsolete
        std::shared_ptr<std::atomic<bool>> isSeeking = nullptr; ///< set when such a seek begins
        int blocksOn = -1; ///< a descriptor that every read() waits on, as a medium that does not answer
        std::shared_ptr<std::atomic<int>> seeks = nullptr; ///< counts them
        bool isFixed = false; ///< whether every seek fails
        std::int64_t blockFrames = 1152;
        std::int64_t hole = 0; ///< frames that are missing after each block
    };

    explicit FakeDecoder(Script script)
        : m_script(std::move(script))
        , m_samples(WavFile::positionCodedSamples(rate, m_script.seconds))
    {
    }
    ~FakeDecoder() override
    {
        if (m_script.isGone)
            *m_script.isGone = true;
    }

    [[nodiscard]] AudioFormat format() const override { return {rate, 2}; }
    [[nodiscard]] double duration() const override { return m_script.claimedSeconds; }
    [[nodiscard]] bool isDurationGuessed() const override { return m_script.isGuessed; }
    [[nodiscard]] bool isDamaged() const override { return m_script.isDamaged; }

    Result<DecodedFrames> read() override
    {
        if (m_script.isReading)
            *m_script.isReading = true;
        char byte = 0;
        if (m_script.blocksOn >= 0 && ::read(m_script.blocksOn, &byte, 1) < 0)
            return Error{QStringLiteral("descriptor")};
        if (double(m_frame) / rate >= m_script.failsAt)
            return Error{QStringLiteral("El archivo está dañado.")};
        const auto first = std::min(std::size_t(m_frame) * 2, m_samples.size());
        const auto count = std::min(std::size_t(2 * m_script.blockFrames), m_samples.size() - first);
        const DecodedFrames block{std::span(m_samples).subspan(first, count), m_frame};
        m_frame += std::int64_t(count / 2) + m_script.hole;
        return block;
    }

    bool seek(std::int64_t frame, const IsObsolete &isObsolete) override
    {
        if (double(frame) / rate == m_script.neverReaches) {
            *m_script.isSeeking = true;
            while (!isObsolete())
                std::this_thread::yield();
            return false;
        }
        if (m_script.seeks)
            ++*m_script.seeks;
        m_frame = frame;
        return !m_script.isFixed;
    }

private:
    const Script m_script;
    const std::vector<float> m_samples;
    std::int64_t m_frame = 0;
};
