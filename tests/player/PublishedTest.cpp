#include "player/Published.h"
#include "tests/TestProgram.h"

#include <QSignalSpy>

namespace {

struct Lamp : ObservableObject {
    int hookRuns = 0;
    Published<int> brightness{*this, 7, [this](int) { ++hookRuns; }};
    Published<QList<int>> history{*this, {}};
};

} // namespace

class PublishedTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initialValueAnnouncesNothing()
    {
        Lamp lamp;
        QCOMPARE(lamp.brightness(), 7);
        QCOMPARE(lamp.hookRuns, 0);
    }

    void writeAnnouncesBeforeItStoresAndRunsTheHookAfter()
    {
        Lamp lamp;
        int seen = 0, hooksSeen = -1;
        connect(&lamp, &ObservableObject::objectWillChange, &lamp, [&] {
            seen = lamp.brightness();
            hooksSeen = lamp.hookRuns;
        });
        lamp.brightness = 9;
        QCOMPARE(seen, 7);
        QCOMPARE(hooksSeen, 0);
        QCOMPARE(lamp.brightness(), 9);
        QCOMPARE(lamp.hookRuns, 1);
    }

    void equalValueIsAnnouncedToo()
    {
        Lamp lamp;
        QSignalSpy changes(&lamp, &ObservableObject::objectWillChange);
        lamp.brightness = 7;
        QCOMPARE(changes.size(), 1);
        QCOMPARE(lamp.hookRuns, 1);
    }

    void mutationIsOneWrite()
    {
        Lamp lamp;
        QSignalSpy changes(&lamp, &ObservableObject::objectWillChange);
        lamp.history.mutate([](QList<int> &list) { list << 1 << 2 << 3; });
        QCOMPARE(changes.size(), 1);
        QCOMPARE(lamp.history(), QList<int>({1, 2, 3}));
    }
};

LUMAVERDINE_TEST(PublishedTest)
#include "PublishedTest.moc"
