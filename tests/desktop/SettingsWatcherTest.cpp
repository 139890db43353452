#include "desktop/SettingsWatcher.h"
#include "tests/FakeService.h"
#include "tests/TestProgram.h"

#include <QDBusMetaType>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <memory>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

using Scheme = DesktopSettings::Scheme;

namespace {

const auto SettingsPath = u"/org/freedesktop/portal/desktop"_s;
const auto AppearanceGroup = u"org.freedesktop.appearance"_s;
const auto SchemeKey = u"color-scheme"_s;

struct Rgb {
    double red;
    double green;
    double blue;
};

QDBusArgument &operator<<(QDBusArgument &argument, const Rgb &color)
{
    argument.beginStructure();
    argument << color.red << color.green << color.blue;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, Rgb &)
{
    return argument;
}

} // namespace

Q_DECLARE_METATYPE(Rgb)

namespace {

/// A portal that knows the values of the group of the look.
class SettingsPortal : public FakeService {
public:
    explicit SettingsPortal(const PrivateBus &bus, QVariantMap values = {{SchemeKey, 1U}})
        : FakeService(bus, u"org.freedesktop.portal.Desktop"_s, SettingsPath)
        , m_values(std::move(values))
    {
    }

    /// Answers the last question, if it did not so at once.
    void answer() { send(calls.constLast().createReply(answerTo({}))); }

    void change(const QString &group, const QString &key, const QVariant &value) const
    {
        QDBusMessage signal = QDBusMessage::createSignal(
            SettingsPath, u"org.freedesktop.portal.Settings"_s, u"SettingChanged"_s);
        signal.setArguments({group, key, QVariant::fromValue(QDBusVariant(value))});
        send(signal);
    }

protected:
    [[nodiscard]] QVariantList answerTo(const QDBusMessage &) override
    {
        return {QVariant::fromValue(PublishedSettings{{AppearanceGroup, m_values}})};
    }

private:
    QVariantMap m_values;
};

/// One that knows nothing of what it should.
class StrangePortal : public SettingsPortal {
public:
    using SettingsPortal::SettingsPortal;

protected:
    [[nodiscard]] QVariantList answerTo(const QDBusMessage &) override { return {u"settings"_s}; }
};

/// A watcher, and what it tells.
struct WatchFixture {
    SettingsWatcher watcher;
    QList<DesktopSettings> told;
    QElapsedTimer sinceStart;

    explicit WatchFixture(std::chrono::milliseconds timeout)
    {
        sinceStart.start();
        watcher.follow([this](const DesktopSettings &settings) { told.append(settings); }, timeout);
    }

    [[nodiscard]] QList<Scheme> schemes() const
    {
        QList<Scheme> schemes;
        for (const DesktopSettings &settings : told)
            schemes.append(settings.scheme);
        return schemes;
    }
};

constexpr auto Endless = 1h;

} // namespace

class SettingsWatcherTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        qDBusRegisterMetaType<Rgb>();
        qDBusRegisterMetaType<PublishedSettings>();
    }

    void tellsTheAnswerAsSoonAsItIsThere()
    {
        const SettingsPortal portal(m_bus);
        const WatchFixture f(Endless);
        QCOMPARE(f.told.size(), 0); // nobody waits for it
        QTRY_COMPARE(f.schemes(), QList{Scheme::Dark});
        QCOMPARE(portal.calls.size(), 1);
        QCOMPARE(portal.calls[0].member(), u"ReadAll"_s);
        QCOMPARE(portal.calls[0].arguments(), QVariantList{desktopSettingsGroups()});
    }

    void tellsWhatIsKnownWhenThereIsNoPortal()
    {
        const WatchFixture f(Endless);
        QTRY_COMPARE(f.schemes(), QList{Scheme::None});
    }

    void tellsWhatIsKnownWhenThePortalFails()
    {
        SettingsPortal portal(m_bus);
        portal.error = u"org.freedesktop.DBus.Error.UnknownInterface"_s;
        const WatchFixture f(Endless);
        QTRY_COMPARE(f.schemes(), QList{Scheme::None});
    }

    void tellsWhatIsKnownAfterAWhileAndALateAnswerThen()
    {
        SettingsPortal portal(m_bus);
        portal.isSilent = true;
        const WatchFixture f(20ms);
        QTRY_COMPARE(f.schemes(), QList{Scheme::None});
        QVERIFY(f.sinceStart.elapsed() >= 20);
        QTRY_COMPARE(portal.calls.size(), 1);
        portal.answer();
        QTRY_COMPARE(f.schemes(), QList({Scheme::None, Scheme::Dark}));
    }

    void aChangeBeforeTheAnswerIsToldWithIt()
    {
        SettingsPortal portal(m_bus);
        portal.isSilent = true;
        const WatchFixture f(Endless);
        QTRY_COMPARE(portal.calls.size(), 1);
        portal.change(AppearanceGroup, SchemeKey, 2U);
        settle();
        QCOMPARE(f.told.size(), 0);
        portal.answer();
        QTRY_COMPARE(f.schemes(), QList{Scheme::Dark});
    }

    void aPortalThatHangsIsAskedOnceAndItsChangesAreFollowed()
    {
        SettingsPortal portal(m_bus);
        portal.isSilent = true;
        const WatchFixture f(20ms);
        QTRY_COMPARE(f.schemes(), QList{Scheme::None});
        QTRY_COMPARE(portal.calls.size(), 1);
        portal.change(AppearanceGroup, SchemeKey, 1U);
        QTRY_COMPARE(f.schemes(), QList({Scheme::None, Scheme::Dark}));
        QCOMPARE(portal.calls.size(), 1);
    }

    void aPortalThatDiesIsFollowedWhenItComesBack()
    {
        auto portal = std::make_unique<SettingsPortal>(m_bus);
        portal->isSilent = true;
        const WatchFixture f(Endless);
        QTRY_COMPARE(portal->calls.size(), 1);
        portal.reset();
        QTRY_COMPARE(f.schemes(), QList{Scheme::None});
        portal = std::make_unique<SettingsPortal>(m_bus);
        QTRY_COMPARE(f.schemes(), QList({Scheme::None, Scheme::Dark}));
        portal.reset();
        portal = std::make_unique<SettingsPortal>(m_bus, QVariantMap());
        QTRY_COMPARE(f.schemes(), QList({Scheme::None, Scheme::Dark, Scheme::None}));
    }

    void aPortalThatAppearsLaterIsFollowed()
    {
        const WatchFixture f(Endless);
        QTRY_COMPARE(f.schemes(), QList{Scheme::None});
        const SettingsPortal portal(m_bus);
        QTRY_COMPARE(f.schemes(), QList({Scheme::None, Scheme::Dark}));
    }

    void plasmaIsReadFromItsFileUntilItsPortalAnswers()
    {
        const QTemporaryDir folder;
        QFile file(folder.filePath(u"kdeglobals"_s));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(
            "[Colors:Window]\nBackgroundNormal=27,30,32\n[Colors:Selection]\nBackgroundNormal=255,0,0\n"
            "[General]\nfont=Noto Sans,11,-1,5,50,0,0,0,0,0\n[KDE]\nAnimationDurationFactor=0\n");
        file.close();
        qputenv("XDG_CONFIG_HOME", folder.path().toUtf8());
        qputenv("XDG_CURRENT_DESKTOP", "KDE");
        const WatchFixture f(Endless);
        qunsetenv("XDG_CURRENT_DESKTOP");
        const WatchFixture elsewhere(Endless);
        qunsetenv("XDG_CONFIG_HOME");
        QTRY_COMPARE(f.schemes(), QList{Scheme::Dark});
        QCOMPARE(f.told[0].accent, QColor(Qt::red));
        QCOMPARE(f.told[0].font.family, u"Noto Sans"_s);
        QVERIFY(!f.told[0].wantsAnimations);
        QTRY_COMPARE(elsewhere.schemes(), QList{Scheme::None});
        const SettingsPortal portal(m_bus, {{SchemeKey, 2U}});
        QTRY_COMPARE(f.schemes(), QList({Scheme::Dark, Scheme::Light}));
        QVERIFY(!f.told[1].accent.isValid());
    }

    void changesAreToldIfTheyChangeSomething()
    {
        const SettingsPortal portal(m_bus);
        const WatchFixture f(Endless);
        QTRY_COMPARE(f.schemes(), QList{Scheme::Dark});
        portal.change(AppearanceGroup, SchemeKey, 1U);
        portal.change(u"org.gnome.desktop.background"_s, u"picture-uri"_s, u"file:///a"_s);
        portal.change(AppearanceGroup, u"contrast"_s, u"1"_s);
        portal.change(AppearanceGroup, SchemeKey, 2U);
        QTRY_COMPARE(f.schemes(), QList({Scheme::Dark, Scheme::Light}));
        portal.change(AppearanceGroup, SchemeKey, u"nonsense"_s);
        QTRY_COMPARE(f.schemes(), QList({Scheme::Dark, Scheme::Light, Scheme::None}));
        QCOMPARE(portal.calls.size(), 1);
    }

    void accentIsAStructureOfThreeNumbers()
    {
        const QVariant red = QVariant::fromValue(Rgb{1, 0, 0});
        const QVariant wrapped = QVariant::fromValue(QDBusVariant(red));
        const SettingsPortal portal(m_bus, {{u"accent-color"_s, red}});
        const WatchFixture f(Endless);
        QTRY_COMPARE(f.told.size(), 1);
        QCOMPARE(f.told[0].accent, QColor(Qt::red));
        portal.change(AppearanceGroup, u"accent-color"_s, QVariant::fromValue(Rgb{0, 0, 1}));
        QTRY_COMPARE(f.told.size(), 2);
        QCOMPARE(f.told[1].accent, QColor(Qt::blue));
        portal.change(AppearanceGroup, u"accent-color"_s, wrapped);
        QTRY_COMPARE(f.told.size(), 3);
        QCOMPARE(f.told[2].accent, QColor(Qt::red));
        portal.change(AppearanceGroup, u"accent-color"_s, QStringList{u"red"_s});
        QTRY_COMPARE(f.told.size(), 4);
        QVERIFY(!f.told[3].accent.isValid());
    }

    void textsAreNotScaledTwice()
    {
        const QString interface = u"org.gnome.desktop.interface"_s;
        const SettingsPortal portal(m_bus);
        const WatchFixture f(Endless);
        QTRY_COMPARE(f.told.size(), 1);
        portal.change(interface, u"text-scaling-factor"_s, 1.5);
        portal.change(interface, u"enable-animations"_s, false);
        QTRY_COMPARE(f.told.size(), 2);
        QVERIFY(!f.told[1].wantsAnimations);
        QCOMPARE(f.told[1].textScale, 1.0);
    }

    void nonsenseIsAsNothing()
    {
        const StrangePortal portal(m_bus);
        const WatchFixture f(Endless);
        QTRY_COMPARE(f.told.size(), 1);
        QVERIFY(f.told[0] == DesktopSettings());
    }

    void aBusThatDiesChangesNothing() // the last one: it is the bus of the whole process
    {
        SettingsPortal portal(m_bus);
        portal.isSilent = true;
        const WatchFixture f(20ms);
        QTRY_COMPARE(portal.calls.size(), 1);
        m_bus.die();
        QTRY_COMPARE(f.schemes(), QList{Scheme::None});
        const WatchFixture other(Endless);
        QTRY_COMPARE(other.schemes(), QList{Scheme::None});
    }

private:
    PrivateBus m_bus;
};

LUMAVERDINE_TEST(SettingsWatcherTest)
#include "SettingsWatcherTest.moc"
