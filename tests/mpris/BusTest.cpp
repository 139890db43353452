#include "mpris/Mpris.h"
#include "tests/TestProgram.h"
#include "tests/mpris/Shell.h"
#include "tests/player/PlayerFixture.h"

#include <QRegularExpression>

using namespace Qt::StringLiterals;

/// What becomes of the one session bus that a process has, in this order.
class BusTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void hangingBusIsNotWaitedFor()
    {
        m_bus.hang();
        m_mpris->start();
        bool isTurned = false;
        QMetaObject::invokeMethod(
            this, [&isTurned] { isTurned = true; }, Qt::QueuedConnection);
        QTRY_VERIFY(isTurned);
        m_bus.resume();
        m_shell = std::make_unique<Shell>(m_bus);
        QTRY_VERIFY(m_shell->sees(PlayerName));
        QCOMPARE(m_shell->get(u"PlaybackStatus"_s), QVariant(u"Stopped"_s));
    }

    void secondPlayerHasANameOfItsOwn()
    {
        QDBusConnection::sessionBus().unregisterService(PlayerName);
        QVERIFY(m_shell->take(PlayerName));
        m_mpris = std::make_unique<Mpris>(
            m_music.player, [] {}, [] {});
        m_mpris->start();
        m_shell->address = PlayerName + u".instance"_s + QString::number(QCoreApplication::applicationPid());
        QTRY_VERIFY(m_shell->sees(m_shell->address));
        QCOMPARE(m_shell->get(u"PlaybackStatus"_s), QVariant(u"Stopped"_s));
    }

    void playerPlaysOnWhenTheBusDies()
    {
        m_music.add("ab"_L1);
        m_music.player.play();
        m_bus.die();
        QTRY_VERIFY(!QDBusConnection::sessionBus().isConnected());
        m_music.player.seek(50);
        QCoreApplication::processEvents();
        m_music.player.next();
        QCoreApplication::processEvents();
        QCOMPARE(m_music.current(), u"b"_s);
        QVERIFY(m_music.player.isPlaying());
    }

private:
    PrivateBus m_bus;
    PlayerFixture m_music;
    std::unique_ptr<Shell> m_shell;
    std::unique_ptr<Mpris> m_mpris = std::make_unique<Mpris>(
        m_music.player, [] {}, [] {});
};

LUMAVERDINE_TEST(BusTest)
#include "BusTest.moc"
