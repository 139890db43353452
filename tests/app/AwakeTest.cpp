#include "tests/FakeService.h"
#include "tests/TestProgram.h"
#include "tests/app/AppFixture.h"

#include <memory>

using namespace Qt::StringLiterals;

/// The computer is kept awake exactly while sound plays.
class AwakeTest : public QObject {
    Q_OBJECT

private:
    PrivateBus m_bus;
    std::unique_ptr<FakePortal> m_portal;

    /// How often it has been inhibited, and how often let go.
    [[nodiscard]] QList<qsizetype> counts() const
    {
        QCoreApplication::processEvents(); // what the window does in this turn
        m_portal->settle();
        return {m_portal->questions().size(), m_portal->closedHandles().size()};
    }

private Q_SLOTS:
    void init() { m_portal = std::make_unique<FakePortal>(m_bus); }
    void cleanup() { m_portal.reset(); }

    void soundKeepsAwakeUntilItEnds_data()
    {
        using End = std::function<void(AppFixture &)>;
        QTest::addColumn<End>("end");
        QTest::newRow("pause") << End([](AppFixture &f) { f.player.pause(); });
        QTest::newRow("stop") << End([](AppFixture &f) { f.player.stop(); });
        QTest::newRow("empty playlist") << End([](AppFixture &f) { f.player.clearPlaylist(); });
        QTest::newRow("decode error") << End([](AppFixture &f) { f.platform.latest().fail(std::nullopt); });
        QTest::newRow("next one fails") << End([](AppFixture &f) {
            f.platform.unplayableNames = QStringList(u"b.mp3"_s);
            f.platform.latest().finish();
        });
    }

    void soundKeepsAwakeUntilItEnds()
    {
        QFETCH(const std::function<void(AppFixture &)>, end);
        AppFixture f;
        f.add({u"a.mp3"_s, u"b.mp3"_s});
        QCOMPARE(counts(), QList<qsizetype>({0, 0}));
        f.player.play();
        QCOMPARE(counts(), QList<qsizetype>({1, 0}));
        end(f);
        QTRY_COMPARE(counts(), QList<qsizetype>({1, 1}));
        f.player.play();
        QCOMPARE(counts().first(), f.player.isPlaying() ? 2 : 1);
    }

    void nothingIsLetGoFromTrackToTrack()
    {
        AppFixture f;
        f.add({u"a.mp3"_s, u"b.mp3"_s});
        f.player.play();
        QCOMPARE(counts(), QList<qsizetype>({1, 0}));
        f.platform.latest().finish();
        QTRY_COMPARE(f.platform.latest().name, u"b"_s);
        f.player.next();
        f.player.isRepeating = true;
        f.platform.latest().finish();
        QTRY_VERIFY(f.player.isPlaying());
        QCOMPARE(counts(), QList<qsizetype>({1, 0}));
    }

    void endOfTheProgramLetsGo()
    {
        {
            AppFixture f;
            f.add({u"a.mp3"_s});
            f.player.play();
            QCOMPARE(counts(), QList<qsizetype>({1, 0}));
        }
        QCOMPARE(counts(), QList<qsizetype>({1, 1}));
    }
};

LUMAVERDINE_TEST(AwakeTest)
#include "AwakeTest.moc"
