#pragma once

#include <chrono>
#include <optional>

/// When to try again after the sound server has gone away: soon, then ever more rarely, not for ever.
class ReconnectPlan {
public:
    using Moment = std::chrono::steady_clock::time_point;

    /// The server answers: the next loss starts anew.
    void connected();

    /// Whether the server has ever answered.
    [[nodiscard]] bool wasConnected() const { return m_wasConnected; }

    /// The connection is lost, or an attempt has failed. Answers when to make the next attempt; nothing where
    /// it is time to give up, because 15 seconds have passed or because there never was a connection.
    [[nodiscard]] std::optional<Moment> nextAttempt(Moment now);

    /// An attempt is being made.
    void attempted();

private:
    bool m_wasConnected = false;
    std::optional<Moment> m_lostAt;
    std::optional<Moment> m_next;
    int m_attempts = 0;
};
