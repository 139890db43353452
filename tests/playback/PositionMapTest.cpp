#include "playback/Mixer.h"
#include "playback/Session.h"
#include "tests/TestProgram.h"

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
        QCOMPARE(map.at(9680), 96'800); // the oldest of 32
        QCOMPARE(map.at(9679), 96'800);
        QCOMPARE(map.at(0), 96'800);
    }

    void pieceThatContinuesTheFormerTakesNoRoom()
    {
        PositionMap map;
        map.append({0, 500, true, 7});
        for (std::int64_t piece = 1; piece < 100; ++piece)
            map.append({piece * 10, 500 + piece * 10, true, 7});
        QCOMPARE(map.pieceAt(985).start, 0);
        map.append({1000, 1500, true, 8});
        QCOMPARE(map.pieceAt(1000).tag, 8U);
        map.append({1010, 1510, false, 8});
        QCOMPARE(map.at(2000), 1510);
        map.append({1010, 99, true, 8}); // in place of what began there
        QCOMPARE(map.at(1010), 99);
        QCOMPARE(map.at(1009), 1509);
    }

    void withoutAFormerConnectionThereIsNoReconnect()
    {
        QVERIFY(!ReconnectBackoff().nextAttempt(ReconnectBackoff::Moment(1s)));
    }

    void reconnectsEverMoreRarelyForFifteenSeconds()
    {
        ReconnectBackoff plan;
        plan.connected();
        ReconnectBackoff::Moment now(100s);
        const ReconnectBackoff::Moment lost = now;
        std::vector<std::chrono::milliseconds> pauses;
        while (const auto next = plan.nextAttempt(now)) {
            QCOMPARE(plan.nextAttempt(now), next);
            pauses.push_back(std::chrono::duration_cast<std::chrono::milliseconds>(*next - now));
            now = *next;
            plan.attempted();
        }
        std::vector<std::chrono::milliseconds> expected{100ms, 250ms, 500ms};
        expected.resize(18, 1000ms);
        QCOMPARE(pauses, expected);
        QCOMPARE(now - lost, 15'850ms);

        plan.connected();
        QCOMPARE(plan.nextAttempt(now), now + 100ms);
    }
};

LUMAVERDINE_TEST(PositionMapTest)
#include "PositionMapTest.moc"
