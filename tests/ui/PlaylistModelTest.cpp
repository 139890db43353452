#include "ui/PlaylistModel.h"
#include "tests/TestProgram.h"
#include "tests/player/PlayerFixture.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>

using namespace Qt::StringLiterals;

namespace {

/// A model under the eyes of the toolkit's tester, and what it announces.
struct ModelFixture {
    PlaylistModel model;
    QAbstractItemModelTester tester{&model, QAbstractItemModelTester::FailureReportingMode::QtTest};
    QSignalSpy inserted{&model, &QAbstractItemModel::rowsInserted};
    QSignalSpy removed{&model, &QAbstractItemModel::rowsRemoved};
    QSignalSpy moved{&model, &QAbstractItemModel::rowsMoved};
    QSignalSpy reset{&model, &QAbstractItemModel::modelReset};
    QSignalSpy changed{&model, &QAbstractItemModel::dataChanged};

    [[nodiscard]] QString titles() const
    {
        QString joined;
        for (int row = 0; row < model.rowCount(); ++row)
            joined += model.index(row).data().toString();
        return joined;
    }

    /// How often rows were inserted, removed and moved.
    [[nodiscard]] QList<qsizetype> changes() const { return {inserted.size(), removed.size(), moved.size()}; }
};

QList<Track> tracksNamed(const QString &letters)
{
    QList<Track> tracks;
    for (const QChar letter : letters)
        tracks.append(Track(PlayerFixture::url(QString(letter))));
    return tracks;
}

/// The tracks of `from` in the order that `letters` names.
QList<Track> arranged(const QList<Track> &from, const QString &letters)
{
    QList<Track> tracks;
    for (const QChar letter : letters) {
        const auto found = std::find_if(
            from.begin(), from.end(), [letter](const Track &track) { return track.title == letter; });
        tracks.append(*found);
    }
    return tracks;
}

} // namespace

class PlaylistModelTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void changeReachesTheViewAsTheLeastThatHappened_data()
    {
        QTest::addColumn<QString>("before");
        QTest::addColumn<QString>("after");
        QTest::addColumn<QList<qsizetype>>("changes"); // insertions, removals, moves
        using Changes = QList<qsizetype>;
        QTest::newRow("first tracks") << u""_s << u"abc"_s << Changes({1, 0, 0});
        QTest::newRow("appended") << u"ab"_s << u"abcd"_s << Changes({1, 0, 0});
        QTest::newRow("put in front") << u"cd"_s << u"abcd"_s << Changes({1, 0, 0});
        QTest::newRow("first removed") << u"abc"_s << u"bc"_s << Changes({0, 1, 0});
        QTest::newRow("middle removed") << u"abcd"_s << u"abd"_s << Changes({0, 1, 0});
        QTest::newRow("last removed") << u"abc"_s << u"ab"_s << Changes({0, 1, 0});
        QTest::newRow("cleared") << u"abc"_s << u""_s << Changes({0, 1, 0});
        QTest::newRow("moved down") << u"abcd"_s << u"bcad"_s << Changes({0, 0, 1});
        QTest::newRow("moved up") << u"abcd"_s << u"adbc"_s << Changes({0, 0, 1});
        QTest::newRow("block moved") << u"abcdef"_s << u"aefbcd"_s << Changes({0, 0, 1});
        QTest::newRow("reversed") << u"abc"_s << u"cba"_s << Changes({1, 1, 0});
        QTest::newRow("replaced") << u"abc"_s << u"adec"_s << Changes({1, 1, 0});
        QTest::newRow("same tracks") << u"abc"_s << u"abc"_s << Changes({0, 0, 0});
    }

    void changeReachesTheViewAsTheLeastThatHappened()
    {
        QFETCH(const QString, before);
        QFETCH(const QString, after);
        QFETCH(const QList<qsizetype>, changes);
        const QList<Track> all = tracksNamed(u"abcdef"_s);
        ModelFixture f;
        f.model.setTracks(arranged(all, before));
        f.inserted.clear();
        f.model.setTracks(arranged(all, after));
        QCOMPARE(f.titles(), after);
        QCOMPARE(f.changes(), changes);
        QCOMPARE(f.reset.size(), 0);
        if (!after.isEmpty())
            QCOMPARE(f.model.rowCount(f.model.index(0)), 0);
    }

    void trackThatReturnsWithANewIdIsAnotherRow()
    {
        ModelFixture f;
        f.model.setTracks(tracksNamed(u"a"_s));
        f.model.setTracks(tracksNamed(u"a"_s));
        QCOMPARE(f.changes(), QList<qsizetype>({2, 1, 0}));
    }

    void rowsAreNumberedFromOneAndRenumbered()
    {
        ModelFixture f;
        QList<Track> tracks = tracksNamed(u"abc"_s);
        f.model.setTracks(tracks);
        tracks.removeFirst();
        f.model.setTracks(tracks);
        const auto number = [&f](int row) { return f.model.playlistRow(f.model.index(row)).number; };
        QCOMPARE(number(0), 1);
        QCOMPARE(number(1), 2);
    }

    void onlyTheRowsThatLookDifferentAreAnnounced()
    {
        ModelFixture f;
        const QList<Track> tracks = tracksNamed(u"abc"_s);
        f.model.setTracks(tracks);
        f.model.setCurrent(tracks[0], false);
        f.changed.clear();

        f.model.setCurrent(tracks[0], false);
        QCOMPARE(f.changed.size(), 0);
        f.model.setCurrent(tracks[0], true);
        QCOMPARE(f.changed.size(), 1);
        f.model.setCurrent(tracks[2], true);
        QCOMPARE(f.changed.size(), 3);
        QCOMPARE(f.changed.at(1).first().toModelIndex().row(), 0);
        QCOMPARE(f.changed.at(2).first().toModelIndex().row(), 2);
        f.model.setCurrent(std::nullopt, false);
        QCOMPARE(f.changed.size(), 4);
        for (const auto &change : std::as_const(f.changed))
            QVERIFY(change.at(2).value<QList<int>>().isEmpty()); // of all roles: it also reads differently
    }

    void rowIsReadWithWhetherItIsCurrent()
    {
        PlaylistRow row{.title = u"T"_s, .artist = u"A"_s, .length = u"3:05"_s};
        QCOMPARE(row.spoken(), u"T, A, 3:05"_s);
        row.marker = PlaylistRow::Marker::Playing;
        QCOMPARE(row.spoken(), u"T, A, 3:05, actual, reproduciendo"_s);
        row.marker = PlaylistRow::Marker::Paused;
        QCOMPARE(row.spoken(), u"T, A, 3:05, actual, en pausa"_s);
    }
};

LUMAVERDINE_TEST(PlaylistModelTest)
#include "PlaylistModelTest.moc"
