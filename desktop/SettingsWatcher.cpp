#include "desktop/SettingsWatcher.h"

#include "desktop/PortalRequest.h"

#include <QDBusConnection>
#include <QDBusMetaType>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QGuiApplication>
#include <QSettings>
#include <QStandardPaths>
#include <limits>

using namespace Qt::StringLiterals;

namespace {

// https://flatpak.github.io/xdg-desktop-portal/docs/doc-org.freedesktop.portal.Settings.html
const auto Interface = u"org.freedesktop.portal.Settings"_s;
constexpr int Forever =
    std::numeric_limits<int>::max(); // milliseconds; the bus library takes this for no limit

/// A value of the bus as one that needs no more of the bus: a list, if it is a structure of three numbers, which is all
/// that is read of structures.
QVariant plain(const QVariant &value)
{
    if (value.typeId() == qMetaTypeId<QDBusVariant>())
        return plain(value.value<QDBusVariant>().variant());
    if (value.typeId() != qMetaTypeId<QDBusArgument>())
        return value;
    const auto argument = value.value<QDBusArgument>();
    if (argument.currentSignature() != "(ddd)"_L1)
        return {};
    double red = 0;
    double green = 0;
    double blue = 0;
    argument.beginStructure();
    argument >> red >> green >> blue;
    argument.endStructure();
    return QVariantList{red, green, blue};
}

PublishedSettings plain(PublishedSettings published)
{
    for (QVariantMap &group : published) {
        for (QVariant &value : group)
            value = plain(value);
    }
    return published;
}

/// What Plasma's portal publishes, from Plasma's own file: for a Plasma without a portal.
PublishedSettings plasmaSettings()
{
    PublishedSettings published;
    if (!qgetenv("XDG_CURRENT_DESKTOP").split(':').contains("KDE"))
        return published;
    const auto locations = QStandardPaths::GenericConfigLocation;
    QSettings file(QStandardPaths::locate(locations, u"kdeglobals"_s), QSettings::IniFormat);
    for (const QString &group : desktopSettingsGroups()) {
        const QString section = group.section(u"org.kde.kdeglobals."_s, 1);
        if (section.isEmpty())
            continue;
        file.beginGroup(section == "General"_L1 ? QString() : section); // as this reader has it
        for (const QString &key : file.childKeys())
            published[group][key] = file.value(key).toStringList().join(u',');
        file.endGroup();
    }
    return published;
}

} // namespace

SettingsWatcher::SettingsWatcher()
    : m_published(plasmaSettings())
    , m_xSettings([this](const QVariantMap &settings) {
        m_published[{}] = settings;
        tellChange();
    })
{
    m_timeout.setSingleShot(true);
    m_timeout.callOnTimeout(this, &SettingsWatcher::tell);
    qDBusRegisterMetaType<PublishedSettings>();
    qRegisterMetaType<QDBusVariant>(); // by its name, for the slot
    QDBusConnection bus = QDBusConnection::sessionBus();
    const auto *arrival =
        new QDBusServiceWatcher(PortalService, bus, QDBusServiceWatcher::WatchForRegistration, this);
    connect(arrival, &QDBusServiceWatcher::serviceRegistered, this, &SettingsWatcher::ask);
    // Without the name of the service: to look up its owner, the toolkit would wait for the bus.
    bus.connect(
        {}, PortalPath, Interface, u"SettingChanged"_s, this, SLOT(change(QString, QString, QDBusVariant)));
    ask();
}

void SettingsWatcher::follow(Follower follower, std::chrono::milliseconds timeout)
{
    m_follower = std::move(follower);
    m_timeout.start(QDBusConnection::sessionBus().isConnected() ? timeout : std::chrono::milliseconds(0));
}

void SettingsWatcher::ask()
{
    QDBusMessage question =
        QDBusMessage::createMethodCall(PortalService, PortalPath, Interface, u"ReadAll"_s);
    question.setArguments({desktopSettingsGroups()});
    const QDBusPendingCall call = QDBusConnection::sessionBus().asyncCall(question, Forever);
    auto *answer = new QDBusPendingCallWatcher(call, this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
        answer->deleteLater();
        const QDBusPendingReply<PublishedSettings> groups = *answer;
        if (!groups.isError()) {
            const QVariantMap xSettings = m_published.value({});
            m_published = plain(groups.value());
            m_published[{}] = xSettings;
        }
        tell();
    });
}

void SettingsWatcher::change(const QString &group, const QString &key, const QDBusVariant &value)
{
    m_published[group][key] = plain(value.variant());
    tellChange();
}

void SettingsWatcher::tellChange()
{
    if (m_told)
        tell();
}

void SettingsWatcher::tell()
{
    if (!m_follower)
        return;
    m_timeout.stop();
    DesktopSettings settings = desktopSettings(m_published);
    // On an X server it is in the resolution already, for all of the window.
    if (!QGuiApplication::platformName().startsWith("wayland"_L1))
        settings.textScale = 1;
    if (m_told == settings)
        return;
    m_told = settings;
    m_follower(settings);
}
