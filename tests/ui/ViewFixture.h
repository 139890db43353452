#pragma once

#include "tests/player/PlayerFixture.h"
#include "ui/ContentView.h"
#include "ui/Translation.h"
#include "ui/controls/Label.h"

#include <QApplication>
#include <QTest>

/// What a label shows, line by line.
inline QStringList shownLines(const Label &label)
{
    QStringList texts;
    for (int i = 0; i < label.lines().lineCount(); ++i) {
        const QTextLine line = label.lines().lineAt(i);
        texts.append(label.lines().text().sliced(line.textStart(), line.textLength()).trimmed());
    }
    return texts;
}

/// The window's content over a player on a fake platform, shown at its least size.
struct ViewFixture : PlayerFixture {
    Translation translation;
    ContentView view{player};

    ViewFixture()
    {
        view.resize(720, 620);
        view.show();
        if (!QTest::qWaitForWindowExposed(&view))
            qFatal("the view is not shown");
    }

    /// Lets the posted render run.
    static void render() { QCoreApplication::processEvents(); }

    /// Admits files named like the letters of `letters` and shows them.
    void add(const char *letters)
    {
        PlayerFixture::add(QLatin1StringView(letters));
        render();
    }

    /// Changes a track where it stands, as other metadata would have made it.
    template <typename Change> void changeTrack(qsizetype index, Change change)
    {
        player.playlist.mutate([&](QList<Track> &tracks) { change(tracks[index]); });
    }

    /// Makes a track current whose title, artist and album are `text`.
    void showTrackCalled(const QString &text)
    {
        add("a");
        Track track = this->track(0);
        track.title = track.artist = track.album = text;
        player.currentTrack = track;
        render();
    }

    /// The one visible piece of this kind that assistive technology calls `name`, or null.
    template <typename Piece> [[nodiscard]] Piece *find(const QString &name) const
    {
        for (Piece *piece : view.findChildren<Piece *>()) {
            if (piece->accessibleName() == name && piece->isVisible())
                return piece;
        }
        return nullptr;
    }

    /// The texts that are visible, from top to bottom and left to right within a line of the layout.
    [[nodiscard]] QStringList texts() const
    {
        QStringList texts;
        for (const Label *label : view.findChildren<Label *>()) {
            if (label->isVisible())
                texts.append(label->text());
        }
        return texts;
    }

    /// Where a piece lies in the view.
    [[nodiscard]] QRect place(const QWidget &piece) const
    {
        return {piece.mapTo(&view, QPoint()), piece.size()};
    }
};
