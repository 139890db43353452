#pragma once

#include "playback/AudioPlayer.h"
#include "tests/playback/PositionCapture.h"

#include <QTest>
#include <memory>

/// A track that tells its position, a sound server of its own, and the player that plays the one on the other.
class PlayedTrack {
protected:
    void saveTrack()
    {
        m_path = m_folder.filePath(QStringLiteral("secret place.wav"));
        QVERIFY(PositionCapture::saveTrack(m_path));
    }

    void openTrack(const SoundLabel &label = {})
    {
        m_player = AudioPlayer::open(QUrl::fromLocalFile(m_path), label).take();
    }

    /// The player first: it says goodbye to its server.
    void release()
    {
        m_player.reset();
        m_daemon.reset();
    }

    QTemporaryDir m_folder;
    QString m_path;
    std::unique_ptr<PulseDaemon> m_daemon;
    std::shared_ptr<AudioPlayer> m_player;
};
