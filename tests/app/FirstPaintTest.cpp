#include "app/LumaverdineApp.h"
#include "desktop/SettingsWatcher.h"
#include "tests/FakeService.h"
#include "tests/TestProgram.h"
#include "tests/player/FakeAudioPlayer.h"
#include "ui/controls/Backdrop.h"

#include <QDBusMetaType>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// A portal by which the user wants dark windows.
class DarkPortal : public FakeService {
public:
    explicit DarkPortal(const PrivateBus &bus)
        : FakeService(bus, u"org.freedesktop.portal.Desktop"_s, u"/org/freedesktop/portal/desktop"_s)
    {
        qDBusRegisterMetaType<PublishedSettings>();
    }

    void answer() { send(calls.constLast().createReply(answerTo({}))); }

protected:
    [[nodiscard]] QVariantList answerTo(const QDBusMessage &) override
    {
        const PublishedSettings settings{{u"org.freedesktop.appearance"_s, {{u"color-scheme"_s, 1U}}},
            {u"org.gnome.desktop.interface"_s, {{u"font-name"_s, u"Serif 12"_s}}},
            {u"org.gnome.desktop.wm.preferences"_s, {{u"button-layout"_s, u"close:"_s}}}};
        return {QVariant::fromValue(settings)};
    }
};

/// Keeps the ground of a widget at each of its paints.
class Grounds : public QObject {
public:
    explicit Grounds(QWidget &widget) { widget.installEventFilter(this); }

    QList<bool> areDark;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::Paint)
            areDark.append(
                static_cast<QWidget *>(watched)->palette().color(QPalette::Window).lightness() < 128);
        return false;
    }
};

/// The program as its main() starts it.
struct StartFixture {
    SettingsWatcher desktop;
    FakePlatform platform;
    LumaverdineApp app{platform.services()};
    Grounds grounds{*app.window().findChild<Backdrop *>()};

    explicit StartFixture(std::chrono::milliseconds timeout) { app.showFollowing(desktop, timeout); }
    ~StartFixture() { app.follow({}); }
    Q_DISABLE_COPY_MOVE(StartFixture)
};

} // namespace

class FirstPaintTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void isAsThePortalTellsThatAnswers()
    {
        const DarkPortal portal(m_bus);
        StartFixture f(1h);
        QVERIFY(!f.app.window().isVisible()); // but nothing waits
        QTRY_VERIFY(!f.grounds.areDark.isEmpty());
        QVERIFY(f.grounds.areDark.constFirst());
    }

    void comesWithoutAPortalThatHangs()
    {
        DarkPortal portal(m_bus);
        portal.isSilent = true;
        StartFixture f(20ms);
        QTRY_VERIFY(!f.grounds.areDark.isEmpty());
        QVERIFY(!f.grounds.areDark.constFirst());
    }

    void isFollowedByOneMoreOnceALatePortalAnswers()
    {
        DarkPortal portal(m_bus);
        portal.isSilent = true;
        StartFixture f(20ms);
        QTRY_VERIFY(!f.grounds.areDark.isEmpty());
        QVERIFY(QTest::qWaitForWindowActive(&f.app.window()));
        QTRY_COMPARE(portal.calls.size(), 1);
        const qsizetype before = f.grounds.areDark.size();
        portal.answer();
        QTRY_VERIFY(f.grounds.areDark.constLast());
        settle();
        QCOMPARE(f.grounds.areDark.size(), before + 1);
    }

    void comesAtOnceWithoutAPortal()
    {
        StartFixture f(1h);
        QTRY_VERIFY(!f.grounds.areDark.isEmpty());
        QVERIFY(!f.grounds.areDark.constFirst());
    }

private:
    PrivateBus m_bus;
};

LUMAVERDINE_TEST(FirstPaintTest)
#include "FirstPaintTest.moc"
