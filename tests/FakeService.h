#pragma once

#include "tests/PrivateBus.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusVirtualObject>
#include <QSignalSpy>
#include <QTest>

/// Returns once what this program and a service have sent one another has been received, and what they send because
/// of that, too.
inline void settle(const QString &service = QStringLiteral("org.freedesktop.DBus"),
    const QString &path = QStringLiteral("/"))
{
    for (int i = 0; i < 2; ++i) {
        const auto call = QDBusMessage::createMethodCall(service, path, {}, QStringLiteral("Settle"));
        const QDBusPendingCallWatcher reply(QDBusConnection::sessionBus().asyncCall(call));
        QVERIFY(QSignalSpy(&reply, &QDBusPendingCallWatcher::finished).wait());
    }
}

/// A program on a test's bus that offers a service, keeps what it is asked, and answers as the test wants. Leaves the
/// bus when it is destroyed.
class FakeService : public QDBusVirtualObject {
public:
    FakeService(const PrivateBus &bus, const QString &name, const QString &path)
        : m_connection(bus.connection(name))
        , m_path(path)
    {
        m_connection.registerVirtualObject(path, this, QDBusConnection::SubPath);
        m_connection.registerService(name);
    }
    ~FakeService() override
    {
        m_connection.unregisterObject(m_path, QDBusConnection::UnregisterTree);
        QCoreApplication::removePostedEvents(this); // refused while the connection lives
        QDBusConnection::disconnectFromBus(m_connection.name());
    }
    Q_DISABLE_COPY_MOVE(FakeService)

    QList<QDBusMessage> calls;
    bool isSilent = false; ///< from now on it answers nothing
    QString error; ///< the name of that by which it refuses everything; empty for none

    void send(const QDBusMessage &message) const { m_connection.send(message); }

    void settle() const { ::settle(m_connection.name(), m_path); }

    [[nodiscard]] QString introspect(const QString &) const override { return {}; }

    bool handleMessage(const QDBusMessage &call, const QDBusConnection &) override
    {
        const bool isSettling = call.member() == QLatin1String("Settle");
        if (!isSettling)
            calls.append(call);
        if (isSettling)
            send(call.createReply());
        else if (!isSilent)
            send(error.isEmpty() ? call.createReply(answerTo(call)) : call.createErrorReply(error, error));
        return true;
    }

protected:
    [[nodiscard]] virtual QVariantList answerTo(const QDBusMessage &call) = 0;

private:
    QDBusConnection m_connection;
    QString m_path;
};

/// A desktop portal. What it is asked stays open until the test responds.
class FakePortal : public FakeService {
public:
    explicit FakePortal(const PrivateBus &bus)
        : FakeService(bus, QStringLiteral("org.freedesktop.portal.Desktop"),
            QStringLiteral("/org/freedesktop/portal/desktop"))
    {
    }

    QString ownHandle; ///< what a portal of old makes of a question instead of what the asker proposes

    /// The questions, without what takes them back.
    [[nodiscard]] QList<QDBusMessage> questions() const
    {
        QList<QDBusMessage> questions = calls;
        questions.removeIf([](const QDBusMessage &call) { return call.member() == QLatin1String("Close"); });
        return questions;
    }

    /// What of the questions has been taken back, or should have been.
    [[nodiscard]] QStringList closedHandles() const
    {
        QStringList handles;
        for (const QDBusMessage &call : calls) {
            if (call.member() == QLatin1String("Close"))
                handles.append(call.path());
        }
        return handles;
    }

    [[nodiscard]] static QVariantMap optionsOf(const QDBusMessage &question)
    {
        return qdbus_cast<QVariantMap>(question.arguments().constLast());
    }

    /// Where a question's answer comes from.
    [[nodiscard]] QString handleOf(const QDBusMessage &question) const
    {
        const QString sender = question.service().mid(1).replace(QLatin1Char('.'), QLatin1Char('_'));
        const QString token = optionsOf(question).value(QStringLiteral("handle_token")).toString();
        return ownHandle.isEmpty()
            ? QStringLiteral("/org/freedesktop/portal/desktop/request/%1/%2").arg(sender, token)
            : ownHandle;
    }

    /// Takes the last question, if it did not so at once.
    void take() const { send(questions().constLast().createReply(handle())); }

    /// Answers the last question.
    void respond(uint response, const QVariantMap &results = {}) const
    {
        QDBusMessage signal = QDBusMessage::createSignal(handleOf(questions().constLast()),
            QStringLiteral("org.freedesktop.portal.Request"), QStringLiteral("Response"));
        signal.setArguments({response, results});
        send(signal);
    }

protected:
    QVariantList answerTo(const QDBusMessage &call) override
    {
        return call.member() == QLatin1String("Close") ? QVariantList() : handle();
    }

private:
    [[nodiscard]] QVariantList handle() const
    {
        return {QVariant::fromValue(QDBusObjectPath(handleOf(questions().constLast())))};
    }
};
