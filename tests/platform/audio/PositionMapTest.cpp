#include "platform/audio/PositionMap.h"
#include "platform/audio/PulseClock.h"
#include "platform/audio/ReconnectPlan.h"

#include <QTest>

using namespace std::chrono_literals;

class PositionMapTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void emptyMapIsZero() { QCOMPARE(PositionMap().at(1000), 0); }

    void movingPieceAdvancesAndHeldPieceDoesNot()
    {
        PositionMap map;
        map.append({100, 5000, true, 0});
        map.append({200, 5100, false, 0});
        QCOMPARE(map.at(150), 5050);
        QCOMPARE(map.at(10'000), 5100);
    }

    void beforeTheFirstPieceItsValueIsHeld()
    {
        PositionMap map;
        map.append({100, 5000, true, 0});
        QCOMPARE(map.at(0), 5000);
    }

    void appendingForgetsWhatLayBehind()
    {
        PositionMap map;
        map.append({0, 0, true, 1});
        map.append({500, 9000, true, 2});
        map.append({300, 40, true, 3});
        QCOMPARE(map.at(299), 299);
        QCOMPARE(map.at(600), 340);
        QCOMPARE(map.pieceAt(600).tag, 3U);
    }

    void oldestPiecesGiveWay()
    {
        PositionMap map;
        for (std::int64_t piece = 0; piece < 1000; ++piece)
            map.append({piece * 10, piece * 100, true, 0});
        QCOMPARE(map.at(9995), 99'905);
        QCOMPARE(map.at(9985), 99'805);
    }

    void clockFollowsTheSoundButNotBeyondWhatWasWritten()
    {
        PulseClock clock(48000);
        clock.set(1'000'000, 4800, true);
        QCOMPARE(clock.frameAt(1'010'000, 1'000'000), 4800 + 480);
        QCOMPARE(clock.frameAt(2'000'000, 10'000), 10'000);
        QCOMPARE(clock.frameAt(900'000, 1'000'000), 4800);
        QCOMPARE(clock.timeOf(4800 + 48), 1'001'000U);
    }

    void clockStandsStillWhereTheSoundDoes()
    {
        PulseClock clock(48000);
        clock.set(1'000'000, 4800, false);
        QCOMPARE(clock.frameAt(9'000'000, 1'000'000), 4800);
    }

    void clockIsNeverNegative()
    {
        PulseClock clock(48000);
        clock.set(1'000'000, -2400, true);
        QCOMPARE(clock.frameAt(1'000'000, 1'000'000), 0);
    }

    void withoutAFormerConnectionThereIsNoReconnect()
    {
        QVERIFY(!ReconnectPlan().nextAttempt(ReconnectPlan::Moment(1s)));
    }

    void reconnectsEverMoreRarelyForFifteenSeconds()
    {
        ReconnectPlan plan;
        plan.connected();
        ReconnectPlan::Moment now(100s);
        const ReconnectPlan::Moment lost = now;
        std::vector<std::chrono::milliseconds> pauses;
        while (const auto next = plan.nextAttempt(now)) {
            QCOMPARE(plan.nextAttempt(now), next);
            pauses.push_back(std::chrono::duration_cast<std::chrono::milliseconds>(*next - now));
            now = *next;
            plan.attempted();
        }
        QCOMPARE(pauses.front(), 100ms);
        QCOMPARE(pauses.at(1), 250ms);
        QVERIFY(std::is_sorted(pauses.begin(), pauses.end()));
        QVERIFY(pauses.back() <= 1000ms);
        QVERIFY(now - lost > 15s && now - lost < 17s);
    }
};

QTEST_GUILESS_MAIN(PositionMapTest)
#include "PositionMapTest.moc"
