#pragma once

#include "player/PayerManager.h"
#include "tests/player/FakeAudioPlayer.h"

#include <memory>

/// A player on a fake platform, and short ways to fill and read it. The files named do not exist: their
/// tracks carry the defaults.
struct PlayerFixture {
    FakePlatform platform;
    std::unique_ptr<PlayerManager> owner = std::make_unique<PlayerManager>(platform.services());
    PlayerManager &player = *owner;

    static QUrl url(const QString &name) { return QUrl::fromLocalFile(QStringLiteral("/music/") + name); }

    /// Admits files named like the letters of `names`: "abc" gives a.mp3, b.mp3 and c.mp3, the first loaded.
    void add(QLatin1StringView letters)
    {
        QList<QUrl> urls;
        for (const QChar letter : QString(letters))
            urls.append(url(QString(letter) + QStringLiteral(".mp3")));
        player.addFiles(urls);
    }

    /// The playlist's titles joined: "abc".
    [[nodiscard]] QString titles() const
    {
        QString joined;
        for (const Track &track : player.playlist())
            joined += track.title;
        return joined;
    }

    /// The current track's title, "-" for none.
    [[nodiscard]] QString current() const
    {
        return player.currentTrack() ? player.currentTrack()->title : QStringLiteral("-");
    }

    [[nodiscard]] const Track &track(qsizetype index) const { return player.playlist().at(index); }
};
