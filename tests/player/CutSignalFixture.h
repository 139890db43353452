#pragma once

#include "player/PayerManager.h"
#include "tests/playback/SoundServerFixture.h"

/// A test that hears the player play the position-coded signal, which was cut into tracks.
class CutSignalFixture : public SoundServerFixture {
protected:
    std::unique_ptr<PlayerManager> m_player;

    void stopSound() override { m_player.reset(); }

    /// Fills the playlist of a new player with files, the first one ready to play.
    void add(const QList<QUrl> &urls)
    {
        m_player = std::make_unique<PlayerManager>();
        m_player->addFiles(urls);
        m_player->volume = 1;
        QCOMPARE(m_player->playlist().size(), urls.size());
        QVERIFY(capture().record(0.3));
    }

    /// The same with the signal cut at `ends`, in seconds, as one file a piece.
    void addCut(const std::vector<double> &ends)
    {
        const auto signal = WavFile::positionCodedSamples(Capture::rate, PositionCapture::length);
        QList<QUrl> urls;
        std::int64_t from = 0;
        for (const double end : ends) {
            const std::int64_t to = std::llround(end * Capture::rate);
            const QString path = filePath(QString::number(urls.size() + 1) + QStringLiteral(".wav"));
            const auto piece = std::span(signal).subspan(std::size_t(from) * 2, std::size_t(to - from) * 2);
            QVERIFY(WavFile::save(path, WavFile::encoded(piece, Capture::rate, 2)));
            urls.append(QUrl::fromLocalFile(path));
            from = to;
        }
        add(urls);
    }
};
