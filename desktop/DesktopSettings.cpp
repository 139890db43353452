#include "desktop/DesktopSettings.h"

#include <QDBusConnection>
#include <QDBusMetaType>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QGuiApplication>
#include <QHash>

using namespace Qt::StringLiterals;

namespace {

// The portal, and two groups of its settings.
const auto Service = u"org.freedesktop.portal.Desktop"_s;
const auto Path = u"/org/freedesktop/portal/desktop"_s;
const auto Interface = u"org.freedesktop.portal.Settings"_s;
const auto WindowGroup = u"org.gnome.desktop.wm.preferences"_s;
const auto InterfaceGroup = u"org.gnome.desktop.interface"_s;

using Kind = WindowButton::Kind;

QList<Kind> kindsNamed(const QStringList &names)
{
    const QHash<QString, Kind> kinds{
        {u"minimize"_s, Kind::Minimize}, {u"maximize"_s, Kind::Zoom}, {u"close"_s, Kind::Close}};
    QList<Kind> named;
    for (const QString &name : names) {
        const auto kind = kinds.constFind(name);
        if (kind != kinds.cend() && !named.contains(*kind))
            named.append(*kind);
    }
    return named;
}

} // namespace

ButtonLayout ButtonLayout::parse(const QString &published)
{
    const QStringList sides = published.split(u':');
    const QList<Kind> named = kindsNamed(sides.join(u',').split(u','));
    QList<Kind> missing = ButtonLayout().order;
    missing.removeIf([&](Kind kind) { return named.contains(kind); });
    if (kindsNamed(sides.first().split(u',')).contains(Kind::Close))
        return {Qt::LeftEdge, named + missing};
    return {Qt::RightEdge, missing + named};
}

SettingsPortal::SettingsPortal(DesktopSettings::Follower follower)
    : m_follower(std::move(follower))
{
    if (!QGuiApplication::platformName().startsWith("wayland"_L1))
        return;
    qDBusRegisterMetaType<Groups>();
    QDBusConnection bus = QDBusConnection::sessionBus();
    const auto *arrival =
        new QDBusServiceWatcher(Service, bus, QDBusServiceWatcher::WatchForRegistration, this);
    connect(arrival, &QDBusServiceWatcher::serviceRegistered, this, &SettingsPortal::ask);
    // Without the name of the service: to look up its owner, the toolkit would wait for the bus.
    bus.connect({}, Path, Interface, u"SettingChanged"_s, this, SLOT(ask()));
    ask();
}

DesktopSettings SettingsPortal::settingsOf(const Groups &published)
{
    return {ButtonLayout::parse(published.value(WindowGroup).value(u"button-layout"_s).toString()),
        published.value(InterfaceGroup).value(u"enable-animations"_s, true).toBool()};
}

void SettingsPortal::ask()
{
    QDBusMessage question = QDBusMessage::createMethodCall(Service, Path, Interface, u"ReadAll"_s);
    question.setArguments({QStringList{WindowGroup, InterfaceGroup}});
    question.setAutoStartService(false);
    auto *answer = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(question), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
        answer->deleteLater();
        const QDBusPendingReply<Groups> groups = *answer;
        if (!groups.isError())
            m_follower(settingsOf(groups.value()));
    });
}
