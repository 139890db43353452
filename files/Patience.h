#pragma once

#include <QByteArray>
#include <QHash>
#include <chrono>
#include <mutex>

/// How long an answer of a medium is waited for: 3 seconds, and with every silence of its folder in a row a
/// tenth of that, so that ten thousand files of a network folder whose server is gone cost little more than
/// one. A folder that has answered since is given a second, and so is every other one, or its share of it where
/// several are silent, until all have answered for 10 seconds.
///
/// Nobody is asked in a folder where a look for a file has been given up, until that look has ended after
/// all: the next one would wait for it in the kernel in a way that not even the end of the process ends.
/// Any thread.
class Patience {
public:
    using Moment = std::chrono::steady_clock::time_point;

    /// A look for a file in a folder, for as long as this lives.
    class Look {
    public:
        Look(Patience &patience, QByteArray folder);
        ~Look();
        Look(const Look &) = delete;
        Look &operator=(const Look &) = delete;

    private:
        Patience &m_patience;
        const QByteArray m_folder;
    };

    /// The one of this process.
    static Patience &instance();

    /// The time that `folder` is given at `now`; zero where it is not worth asking.
    [[nodiscard]] std::chrono::milliseconds limit(const QByteArray &folder, Moment now);

    void noteAnswer(const QByteArray &folder);
    void noteSilence(const QByteArray &folder, Moment now);

private:
    std::mutex m_mutex; ///< guards all below
    QHash<QByteArray, int> m_looks; ///< that go on, by folder
    QHash<QByteArray, int> m_silences; ///< in a row, of the folders that were silent of late
    Moment m_lastSilence;
};
