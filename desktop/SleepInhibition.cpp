#include "desktop/SleepInhibition.h"

#include "desktop/PortalRequest.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusPendingReply>
#include <QPointer>

using namespace Qt::StringLiterals;

namespace {

constexpr uint Suspend = 4; // among what the portal can inhibit

QDBusMessage powerManagerCall(const QString &method, const QVariantList &arguments)
{
    const auto service = u"org.freedesktop.PowerManagement"_s;
    QDBusMessage call = QDBusMessage::createMethodCall(
        service, u"/org/freedesktop/PowerManagement/Inhibit"_s, service + u".Inhibit"_s, method);
    call.setArguments(arguments);
    return call;
}

void letGo(uint cookie)
{
    QDBusConnection::sessionBus().send(powerManagerCall(u"UnInhibit"_s, {cookie}));
}

QString reason()
{
    return SleepInhibition::tr("Reproduciendo música");
}

} // namespace

SleepInhibition::SleepInhibition()
{
    const auto *request = new PortalRequest(u"Inhibit"_s, u"Inhibit"_s, {QString(), Suspend},
        {{u"reason"_s, reason()}}, PortalRequest::Span::UntilTakenBack, this);
    connect(request, &PortalRequest::failed, this, &SleepInhibition::askPowerManager);
    connect(request, &PortalRequest::lost, this, &SleepInhibition::askPowerManager);
    connect(request, &PortalRequest::answered, this, [this](uint response) {
        if (response != 0) // the portal can inhibit something, but not this
            askPowerManager();
    });
}

SleepInhibition::~SleepInhibition()
{
    if (m_cookie)
        letGo(*m_cookie);
}

void SleepInhibition::askPowerManager()
{
    if (!QDBusConnection::sessionBus().isConnected())
        return;
    const QDBusMessage call = powerManagerCall(u"Inhibit"_s, {u"Lumaverdine"_s, reason()});
    auto *reply = new QDBusPendingCallWatcher(
        QDBusConnection::sessionBus().asyncCall(call), QCoreApplication::instance());
    connect(reply, &QDBusPendingCallWatcher::finished, [reply, self = QPointer(this)] {
        reply->deleteLater();
        const QDBusPendingReply<uint> cookie = *reply;
        if (cookie.isError())
            return;
        if (self)
            self->m_cookie = cookie.value();
        else
            letGo(cookie.value());
    });
}
