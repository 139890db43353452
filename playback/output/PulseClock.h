#pragma once

#include <algorithm>
#include <cstdint>

/// Which frame is heard now, from the last time the server said so. Times are microseconds of one monotonic
/// clock.
class PulseClock {
public:
    explicit PulseClock(int rate)
        : m_rate(rate)
    {
    }

    /// At `time`, `frame` was heard, and the sound was moving on or not.
    void set(std::uint64_t time, std::int64_t frame, bool isMoving)
    {
        m_time = time;
        m_frame = frame;
        m_isMoving = isMoving;
    }

    [[nodiscard]] bool isMoving() const { return m_isMoving; }

    /// Frame 0 or later; it cannot be beyond what was `written`.
    [[nodiscard]] std::int64_t frameAt(std::uint64_t time, std::int64_t written) const
    {
        const std::int64_t passed =
            m_isMoving && time > m_time ? std::int64_t(time - m_time) * m_rate / 1'000'000 : 0;
        return std::clamp<std::int64_t>(m_frame + passed, 0, std::max<std::int64_t>(written, 0));
    }

    /// When `frame` is heard if the sound moves on.
    [[nodiscard]] std::uint64_t timeOf(std::int64_t frame) const
    {
        return m_time + std::uint64_t(std::max<std::int64_t>(frame - m_frame, 0) * 1'000'000 / m_rate);
    }

private:
    int m_rate;
    std::uint64_t m_time = 0;
    std::int64_t m_frame = 0;
    bool m_isMoving = false;
};
