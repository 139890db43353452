#include "files/Patience.h"
#include "tests/TestProgram.h"

#include "files/DetachedThread.h"

#include <future>
#include <memory>
#include <pthread.h>

using namespace std::chrono_literals;

class PatienceTest : public QObject {
    Q_OBJECT

private:
    static constexpr Patience::Moment Start = Patience::Moment(1000h);

    /// Asks `folder` for one file after the other and gets no answer; returns how long that takes in all.
    static std::chrono::milliseconds importFrom(
        const QByteArray &folder, int files, Patience &patience, Patience::Moment &now)
    {
        const auto start = now;
        for (int i = 0; i < files; ++i) {
            const auto limit = patience.limit(folder, now);
            now += limit;
            if (limit > 0ms)
                patience.noteSilence(folder, now);
        }
        return std::chrono::duration_cast<std::chrono::milliseconds>(now - start);
    }

private Q_SLOTS:
    void healthyMediumHasThreeSeconds()
    {
        Patience patience;
        QCOMPARE(patience.limit("/a", Start), 3000ms);
        patience.noteAnswer("/a");
        QCOMPARE(patience.limit("/a", Start), 3000ms);
    }

    void mediumOfAMachineThatHasJustStartedHasThreeSeconds()
    {
        Patience patience;
        QCOMPARE(patience.limit("/a", Patience::Moment() + 5s), 3000ms);
    }

    void manyFilesOfADeadFolderCostLittleMoreThanOne()
    {
        Patience patience;
        auto now = Start;
        QVERIFY(importFrom("/dead", 10'000, patience, now) <= 3500ms);
        QCOMPARE(patience.limit("/dead", now), 0ms);
    }

    void deadFolderBesideADeadOneCostsLittleMoreThanASecond()
    {
        Patience patience;
        auto now = Start;
        importFrom("/dead", 10, patience, now);
        QVERIFY(importFrom("/dead too", 10'000, patience, now) <= 1500ms);
    }

    void manyDeadFoldersCostLittleMoreThanOne()
    {
        Patience patience;
        auto now = Start;
        for (int i = 0; i < 100; ++i) {
            const auto folder = QByteArray::number(i);
            const Patience::Look look(patience, folder);
            importFrom(folder, 100, patience, now);
        }
        QVERIFY(now - Start < 10s);
        QVERIFY(patience.limit("/good", now) >= 10ms);
    }

    void folderBesidesADeadOneIsAskedAllTheTime()
    {
        Patience patience;
        auto now = Start;
        for (int i = 0; i < 100; ++i) {
            importFrom("/dead", 1, patience, now);
            QCOMPARE(patience.limit("/good", now), 1000ms);
            patience.noteAnswer("/good");
        }
    }

    void goodFilesBetweenSilentOnesAreAskedFor()
    {
        Patience patience;
        auto now = Start;
        for (int i = 0; i < 100; ++i) {
            importFrom("/damaged disk", 1, patience, now);
            QCOMPARE(patience.limit("/damaged disk", now), 300ms);
            patience.noteAnswer("/damaged disk");
        }
        QCOMPARE(patience.limit("/damaged disk", now), 1000ms);
    }

    void folderWhereALookHangsIsLeftAloneUntilItEnds()
    {
        Patience patience;
        auto look = std::make_unique<Patience::Look>(patience, "/dead");
        QCOMPARE(patience.limit("/dead", Start), 3000ms);
        patience.noteSilence("/dead", Start);
        QCOMPARE(patience.limit("/dead", Start), 0ms);
        QCOMPARE(patience.limit("/dead", Start + 1h), 0ms);
        QCOMPARE(patience.limit("/other", Start + 1h), 3000ms);
        look.reset();
        QCOMPARE(patience.limit("/dead", Start + 2h), 3000ms);
    }

    void looksOfAFolderThatAnswersDoNotMatter()
    {
        Patience patience;
        const Patience::Look look(patience, "/good");
        QCOMPARE(patience.limit("/good", Start), 3000ms);
        patience.noteSilence("/dead", Start);
        QCOMPARE(patience.limit("/good", Start), 1000ms);
    }

    void silenceIsForgotten()
    {
        Patience patience;
        auto now = Start;
        importFrom("/dead", 100, patience, now);
        QCOMPARE(patience.limit("/other", now + 10s), 1000ms);
        QCOMPARE(patience.limit("/dead", now + 11s), 3000ms);
        QCOMPARE(patience.limit("/other", now + 11s), 3000ms);
    }

    void detachedThreadIsDeepEnough()
    {
        std::promise<std::pair<int, std::size_t>> promise;
        const auto ask = [&promise] {
            pthread_attr_t attributes;
            pthread_getattr_np(pthread_self(), &attributes);
            std::pair<int, std::size_t> found;
            pthread_attr_getdetachstate(&attributes, &found.first);
            pthread_attr_getstacksize(&attributes, &found.second);
            pthread_attr_destroy(&attributes);
            promise.set_value(found);
        };
        QVERIFY(startDetachedThread(ask));
        const auto [state, size] = promise.get_future().get();
        QCOMPARE(state, int(PTHREAD_CREATE_DETACHED));
        QCOMPARE(size, std::size_t(8 * 1024 * 1024));
    }
};

LUMAVERDINE_TEST(PatienceTest)
#include "PatienceTest.moc"
