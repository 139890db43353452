#pragma once

#include "player/PayerManager.h"
#include "tests/player/FakeAudioPlayer.h"

#include <QPointer>
#include <QStringList>
#include <QTimer>
#include <cstdio>
#include <functional>

/// Notes everything that a player does, in its order:
///
/// - "isPlaying true", a write of a property, by what has changed when the next thing happens or the operation has
///   ended; "same" for a write that changes nothing, "unannounced isPlaying true" for one without a notification;
/// - "open b", "b volume 0.5", "grant b", a call of the platform;
/// - "timer on" and "timer off", a start or a restart, and a stop, of the progress timer;
/// - "prints …", a line on standard output.
class Journal : public QObject {
public:
    Journal(FakePlatform &platform, PlayerManager &player);
    ~Journal() override;

    /// What is noted while `operation` runs, with commas between.
    QString record(const std::function<void()> &operation);

private:
    [[nodiscard]] QStringList properties() const;
    void settle();
    void settleProperties();
    void settleTimer();
    void settleOutput();

    FakePlatform &m_platform;
    QPointer<PlayerManager> m_player;
    QPointer<QTimer> m_timer;
    QStringList m_entries;

    QStringList m_properties; ///< as they were when the last event was noted
    bool m_isTimerOn = false; ///< the same
    bool m_isAnnounced = false; ///< that event was a notification
    std::FILE *m_output = nullptr; ///< standard output of the operation
    qint64 m_outputRead = 0;
};
