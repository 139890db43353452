#include "desktop/SleepInhibition.h"
#include "tests/FakeService.h"
#include "tests/TestProgram.h"

#include <QElapsedTimer>
#include <memory>

using namespace Qt::StringLiterals;

namespace {

class FakePowerManager : public FakeService {
public:
    explicit FakePowerManager(const PrivateBus &bus)
        : FakeService(
            bus, u"org.freedesktop.PowerManagement"_s, u"/org/freedesktop/PowerManagement/Inhibit"_s)
    {
    }

    /// What it was asked, in words.
    [[nodiscard]] QStringList said() const
    {
        QStringList said;
        for (const QDBusMessage &call : calls) {
            QStringList arguments;
            for (const QVariant &argument : call.arguments())
                arguments.append(argument.toString());
            said.append(u"%1.%2(%3)"_s.arg(call.interface(), call.member(), arguments.join(u", ")));
        }
        return said;
    }

protected:
    QVariantList answerTo(const QDBusMessage &call) override
    {
        return call.member() == u"Inhibit" ? QVariantList{7U} : QVariantList();
    }
};

const QString Inhibited =
    u"org.freedesktop.PowerManagement.Inhibit.Inhibit(Lumaverdine, Reproduciendo música)"_s;
const QString LetGo = u"org.freedesktop.PowerManagement.Inhibit.UnInhibit(7)"_s;

} // namespace

class SleepInhibitionTest : public QObject {
    Q_OBJECT

private:
    PrivateBus m_bus;

private Q_SLOTS:
    void initTestCase() { QVERIFY(!m_bus.address().isEmpty()); }

    void portalIsAskedAndLetGo()
    {
        const FakePortal portal(m_bus);
        const FakePowerManager manager(m_bus);
        auto inhibition = std::make_unique<SleepInhibition>();
        QTRY_COMPARE(portal.calls.size(), 1);
        const QDBusMessage &question = portal.calls.first();
        QCOMPARE(question.interface(), u"org.freedesktop.portal.Inhibit"_s);
        QCOMPARE(question.member(), u"Inhibit"_s);
        QCOMPARE(question.arguments().at(1), QVariant(4U));
        QCOMPARE(portal.optionsOf(question).value(u"reason"_s), QVariant(u"Reproduciendo música"_s));
        portal.respond(0);
        portal.settle();
        QCOMPARE(portal.closedHandles(), QStringList());
        inhibition.reset();
        QTRY_COMPARE(portal.closedHandles(), QStringList(portal.handleOf(question)));
        QVERIFY(manager.calls.isEmpty());
    }

    void isLetGoIfThePortalTakesItLate()
    {
        FakePortal portal(m_bus);
        portal.isSilent = true;
        auto inhibition = std::make_unique<SleepInhibition>();
        QTRY_COMPARE(portal.calls.size(), 1);
        inhibition.reset();
        portal.settle();
        QCOMPARE(portal.calls.size(), 1);
        portal.take();
        QTRY_COMPARE(portal.closedHandles(), QStringList(portal.handleOf(portal.calls.first())));
    }

    void powerManagerIsAskedIfThePortalCannot_data()
    {
        QTest::addColumn<QString>("portal");
        for (const auto *portal : {"absent", "refusing", "failing", "dying"})
            QTest::newRow(portal) << QString::fromLatin1(portal);
    }

    void powerManagerIsAskedIfThePortalCannot()
    {
        QFETCH(const QString, portal);
        std::unique_ptr<FakePortal> service;
        if (portal != u"absent")
            service = std::make_unique<FakePortal>(m_bus);
        if (portal == u"refusing")
            service->error = u"org.freedesktop.DBus.Error.UnknownMethod"_s;
        const FakePowerManager manager(m_bus);
        auto inhibition = std::make_unique<SleepInhibition>();
        if (service)
            QTRY_COMPARE(service->calls.size(), 1);
        if (portal == u"failing")
            service->respond(2);
        if (portal == u"dying") {
            service->settle();
            service.reset();
        }
        QTRY_COMPARE(manager.said(), QStringList(Inhibited));
        manager.settle();
        inhibition.reset();
        QTRY_COMPARE(manager.said(), QStringList({Inhibited, LetGo}));
        QVERIFY(!service || service->closedHandles().isEmpty());
    }

    void powerManagerIsAskedIfThePortalHangs()
    {
        FakePortal portal(m_bus);
        portal.isSilent = true;
        const FakePowerManager manager(m_bus);
        const SleepInhibition inhibition;
        QTRY_COMPARE_WITH_TIMEOUT(manager.said(), QStringList(Inhibited), 7000);
        portal.take();
        QTRY_COMPARE(portal.closedHandles().size(), 1);
    }

    void isLetGoIfThePowerManagerAnswersLate()
    {
        FakePowerManager manager(m_bus);
        manager.isSilent = true;
        auto inhibition = std::make_unique<SleepInhibition>();
        QTRY_COMPARE(manager.said(), QStringList(Inhibited));
        inhibition.reset();
        manager.settle();
        QCOMPARE(manager.calls.size(), 1);
        manager.send(manager.calls.first().createReply(7U));
        QTRY_COMPARE(manager.said(), QStringList({Inhibited, LetGo}));
    }

    void nothingHappensWithoutAnyOfThem()
    {
        const SleepInhibition inhibition;
        settle();
        const FakePortal portal(m_bus); // too late
        const FakePowerManager manager(m_bus);
        portal.settle();
        manager.settle();
        QVERIFY(portal.calls.isEmpty() && manager.calls.isEmpty());
    }

    /// A bus that does not answer holds nothing up.
    void doesNotWaitForTheBus()
    {
        QVERIFY(QDBusConnection::sessionBus().isConnected());
        m_bus.hang();
        QElapsedTimer clock;
        clock.start();
        std::make_unique<SleepInhibition>().reset();
        const qint64 waited = clock.elapsed();
        m_bus.resume();
        QVERIFY2(waited < 1000, qPrintable(QString::number(waited)));
    }
};

LUMAVERDINE_TEST(SleepInhibitionTest)
#include "SleepInhibitionTest.moc"
