#include "tests/TestProgram.h"
#include "tests/ui/ViewFixture.h"
#include "ui/PlaylistView.h"
#include "ui/controls/Button.h"

using namespace Qt::StringLiterals;

namespace {

/// The texts below the player: the header's, and the empty view's if it is shown.
QStringList playlistTexts(const ViewFixture &f)
{
    return f.texts().sliced(7);
}

bool showsRows(const ViewFixture &f)
{
    return f.view.findChild<PlaylistView *>()->isVisible();
}

Button *selectMusic(const ViewFixture &f)
{
    for (auto *button : f.view.findChildren<Button *>()) {
        if (button->text() == u"Seleccionar música…" && button->isVisible())
            return button;
    }
    return nullptr;
}

} // namespace

class PlaylistSectionTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void emptyPlaylistInvites()
    {
        const ViewFixture f;
        QCOMPARE(playlistTexts(f),
            QStringList({u"Playlist"_s, u"Sin canciones"_s, u"La playlist está vacía"_s,
                u"Añade archivos MP3, M4A, AAC, WAV u otros formatos compatibles."_s}));
        QVERIFY(selectMusic(f));
        QCOMPARE(selectMusic(f)->accessibleDescription(), u"La playlist está vacía"_s);
        QVERIFY(!showsRows(f));
    }

    void headerCountsAndSums_data()
    {
        QTest::addColumn<QList<double>>("durations");
        QTest::addColumn<QStringList>("header");
        using Durations = QList<double>;
        QTest::newRow("one") << Durations({185}) << QStringList({u"Playlist"_s, u"1 canción"_s, u"3:05"_s});
        QTest::newRow("unknown lengths")
            << Durations({0, 0}) << QStringList({u"Playlist"_s, u"2 canciones"_s, u"0:00"_s});
        QTest::newRow("beyond an hour")
            << Durations({3600, 125}) << QStringList({u"Playlist"_s, u"2 canciones"_s, u"62:05"_s});
        QTest::newRow("parts of seconds add up")
            << Durations({0.5, 0.5}) << QStringList({u"Playlist"_s, u"2 canciones"_s, u"0:01"_s});
        QTest::newRow("no grouping") << Durations(1500)
                                     << QStringList({u"Playlist"_s, u"1500 canciones"_s, u"0:00"_s});
    }

    void headerCountsAndSums()
    {
        QFETCH(const QList<double>, durations);
        ViewFixture f;
        QList<Track> tracks;
        for (const double duration : durations) {
            tracks.append(Track(f.url(u"a.mp3"_s)));
            tracks.last().duration = duration;
        }
        f.player.playlist = tracks;
        f.render();
        QTEST(playlistTexts(f), "header");
        QVERIFY(showsRows(f));
    }

    void removingTheLastTrackInvitesAgain()
    {
        ViewFixture f;
        f.add("a");
        QVERIFY(!selectMusic(f));
        f.player.removeTrack(f.track(0));
        f.render();
        QVERIFY(selectMusic(f));
        f.add("ab");
        f.player.clearPlaylist();
        f.render();
        QVERIFY(selectMusic(f));
        QVERIFY(!showsRows(f));
    }

    void buttonAsksForFiles()
    {
        ViewFixture f;
        QTest::mouseClick(selectMusic(f), Qt::LeftButton);
        QVERIFY(f.player.showFileImporter());
        f.player.showFileImporter = false;
        f.render();
        QVERIFY(selectMusic(f));
    }

    void narrowWindowWrapsTheInvitation()
    {
        ViewFixture f;
        const QList<Label *> labels = f.view.findChildren<Label *>();
        const Label &formats = *labels.last();
        QCOMPARE(shownLines(formats).size(), 1);
        f.view.resize(461, 800);
        QTRY_VERIFY(shownLines(formats).size() > 1);
        QVERIFY(!shownLines(formats).last().endsWith(u'…'));
        QCOMPARE(formats.height(), formats.heightForWidth(formats.width()));
    }
};

LUMAVERDINE_TEST(PlaylistSectionTest)
#include "PlaylistSectionTest.moc"
