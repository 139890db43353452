#include "desktop/SettingsPortal.h"

#include <QDBusConnection>
#include <QDBusMetaType>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QGuiApplication>

using namespace Qt::StringLiterals;

namespace {

const auto Service = u"org.freedesktop.portal.Desktop"_s;
const auto Path = u"/org/freedesktop/portal/desktop"_s;
const auto Interface = u"org.freedesktop.portal.Settings"_s;
const auto WindowGroup = u"org.gnome.desktop.wm.preferences"_s;
const auto InterfaceGroup = u"org.gnome.desktop.interface"_s;

} // namespace

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
