#include "tests/TestProgram.h"
#include "tests/player/PlayerFixture.h"

#include <map>
#include <sys/wait.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

/// How far counts are from being equal, by Pearson's chi-square statistic.
double chiSquare(const std::map<QString, int> &counts)
{
    double total = 0, sum = 0;
    for (const auto &[name, count] : counts)
        total += count;
    const double expected = total / double(counts.size());
    for (const auto &[name, count] : counts)
        sum += (count - expected) * (count - expected) / expected;
    return sum;
}

/// What a process of its own picks, one letter each, from where this one stands.
QByteArray picksOfAnotherProcess()
{
    int ends[2];
    if (pipe(ends) != 0)
        return {};
    const pid_t child = fork();
    if (child == 0) {
        PlayerFixture f;
        f.add("abcdefgh"_L1);
        f.player.isShuffling = true;
        QByteArray picks;
        for (int i = 0; i < 40; ++i) {
            f.player.next();
            picks += f.current().toLatin1();
        }
        _exit(write(ends[1], picks.constData(), std::size_t(picks.size())) == picks.size() ? 0 : 1);
    }
    close(ends[1]);
    QByteArray picks(100, '\0');
    picks.truncate(read(ends[0], picks.data(), std::size_t(picks.size())));
    close(ends[0]);
    waitpid(child, nullptr, 0);
    return picks;
}

} // namespace

class ShuffleTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyOtherTrackIsPickedAlikeAndTheCurrentOneNever()
    {
        PlayerFixture f;
        f.add("abcde"_L1);
        f.player.isShuffling = true;
        f.player.isRepeating = true;
        std::map<QString, std::map<QString, int>> picks; // by the track before
        int returns = 0; // to the track before the last
        QString beforeLast;
        for (int i = 0; i < 4000; ++i) {
            const QString last = f.current();
            f.player.next();
            ++picks[last][f.current()];
            returns += f.current() == beforeLast ? 1 : 0;
            beforeLast = last;
        }
        for (const auto &[last, counts] : picks) {
            QCOMPARE(counts.size(), 4u);
            QVERIFY(!counts.contains(last));
            QVERIFY2(chiSquare(counts) < 30.7, "one in a million, with 3 degrees of freedom");
        }
        // 1,000 expected, standard deviation 27: picks do not depend on earlier ones.
        QVERIFY2(returns > 860 && returns < 1140, qPrintable(QString::number(returns)));
    }

    void withoutACurrentTrackAnyIsPicked_data()
    {
        QTest::addColumn<QLatin1StringView>("names");
        QTest::addColumn<double>(
            "oneInAMillion"); // of the chi-square distribution, with one degree less than tracks
        QTest::newRow("of two") << "ab"_L1 << 23.9;
        QTest::newRow("of five") << "abcde"_L1 << 33.4;
    }
    void withoutACurrentTrackAnyIsPicked()
    {
        QFETCH(QLatin1StringView, names);
        QFETCH(double, oneInAMillion);
        PlayerFixture f;
        f.add(names);
        f.player.isShuffling = true;
        std::map<QString, int> picks;
        for (int i = 0; i < 1000; ++i) {
            f.player.currentTrack = std::nullopt;
            f.player.next();
            ++picks[f.current()];
        }
        QCOMPARE(qsizetype(picks.size()), names.size());
        QVERIFY(chiSquare(picks) < oneInAMillion);
    }

    void previousTrackIsTheOneBeforeInTheList()
    {
        PlayerFixture f;
        f.add("abcdefgh"_L1);
        f.player.isShuffling = true;
        for (const char *previous : {"h", "g", "f", "e", "d", "c", "b", "a"}) {
            f.player.previous();
            QCOMPARE(f.current(), QString::fromLatin1(previous));
        }
    }

    void eachProcessPicksOnItsOwn()
    {
        const QByteArray picks = picksOfAnotherProcess();
        QCOMPARE(picks.size(), 40);
        QVERIFY(picks != picksOfAnotherProcess());
    }
};

LUMAVERDINE_TEST(ShuffleTest)
#include "ShuffleTest.moc"
