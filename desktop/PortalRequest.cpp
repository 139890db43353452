#include "desktop/PortalRequest.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QPointer>
#include <QRandomGenerator>
#include <QTimer>
#include <chrono>
#include <climits>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr auto ReplyTimeout = 5s;
constexpr int NoTimeout = INT_MAX; // of the bus library: a question that is taken later has to be taken back

const auto PortalPrefix = u"org.freedesktop.portal."_s;

void closeRequest(const QString &handle)
{
    QDBusMessage call =
        QDBusMessage::createMethodCall(PortalService, handle, PortalPrefix + u"Request"_s, u"Close"_s);
    call.setAutoStartService(false);
    QDBusConnection::sessionBus().send(call);
}

} // namespace

PortalRequest::PortalRequest(const QString &interface, const QString &method, const QVariantList &arguments,
    const QVariantMap &options, Span span, QObject *parent)
    : QObject(parent)
    , m_span(span)
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    const QString token = u"lumaverdine%1"_s.arg(QRandomGenerator::global()->generate());
    m_handle = u"%1/request/%2/%3"_s.arg(PortalPath, bus.baseService().mid(1).replace(u'.', u'_'), token);
    // Before the question, so that no answer comes too early; of any request, because a portal before 0.9 chooses the
    // handle by itself. Without the name of the service: to look up its owner, the toolkit would wait for the bus.
    bus.connect({}, {}, PortalPrefix + u"Request"_s, u"Response"_s, this,
        SLOT(handleResponse(uint, QVariantMap, QDBusMessage)));
    const auto *owner =
        new QDBusServiceWatcher(PortalService, bus, QDBusServiceWatcher::WatchForOwnerChange, this);
    connect(owner, &QDBusServiceWatcher::serviceOwnerChanged, this, [this] {
        if (m_state == State::Open) {
            m_state = State::Over;
            Q_EMIT lost();
        }
    });

    QDBusMessage call =
        QDBusMessage::createMethodCall(PortalService, PortalPath, PortalPrefix + interface, method);
    QVariantMap allOptions = options;
    allOptions.insert(u"handle_token"_s, token);
    call.setArguments(arguments + QVariantList{allOptions});
    ask(call);
}

PortalRequest::~PortalRequest()
{
    if (m_state == State::Open)
        closeRequest(m_handle);
}

void PortalRequest::ask(const QDBusMessage &call)
{
    const QDBusConnection bus = QDBusConnection::sessionBus();
    const QDBusPendingCall reply = bus.isConnected()
        ? bus.asyncCall(call, NoTimeout)
        : QDBusPendingCall::fromError(QDBusError(QDBusError::Disconnected, {}));
    // Outlives this, to take back what is taken late.
    m_reply = new QDBusPendingCallWatcher(reply, QCoreApplication::instance());
    connect(m_reply, &QDBusPendingCallWatcher::finished,
        [self = QPointer(this)](QDBusPendingCallWatcher *finished) {
            finished->deleteLater();
            const QDBusPendingReply<QDBusObjectPath> handle = *finished;
            if (self && self->m_state == State::Asked)
                self->handleReply(handle);
            else if (!handle.isError())
                closeRequest(handle.value().path());
        });
    QTimer::singleShot(ReplyTimeout, this, [this] {
        if (m_state == State::Asked)
            giveUp();
    });
}

void PortalRequest::handleReply(const QDBusPendingReply<QDBusObjectPath> &handle)
{
    if (handle.isError()) {
        giveUp();
        return;
    }
    m_state = State::Open;
    m_handle = handle.value().path();
}

void PortalRequest::handleResponse(uint response, const QVariantMap &results, const QDBusMessage &signal)
{
    if (m_state == State::Over || signal.path() != m_handle)
        return;
    delete m_reply; // which would take back what has been answered
    m_state = m_span == Span::UntilTakenBack && response == 0 ? State::Open : State::Over;
    Q_EMIT answered(response, results);
}

void PortalRequest::giveUp()
{
    m_state = State::Over;
    Q_EMIT failed();
}
