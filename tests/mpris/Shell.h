#pragma once

#include "tests/PrivateBus.h"

#include <QCoreApplication>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCall>
#include <QDBusVariant>
#include <QObject>
#include <QStringList>

const auto RootInterface = QStringLiteral("org.mpris.MediaPlayer2");
const auto PlayerInterface = QStringLiteral("org.mpris.MediaPlayer2.Player");
const auto PropertiesInterface = QStringLiteral("org.freedesktop.DBus.Properties");
const auto PlayerName = QStringLiteral("org.mpris.MediaPlayer2.lumaverdine");

/// A desktop's shell: another program on the bus, which calls the player and notes what it is told.
class Shell : public QObject {
    Q_OBJECT

public:
    QString address = PlayerName; ///< of the player

    explicit Shell(const PrivateBus &bus)
        : m_bus(bus.connection(QStringLiteral("shell")))
    {
        const auto path = QStringLiteral("/org/mpris/MediaPlayer2");
        m_bus.connect({}, path, PropertiesInterface, QStringLiteral("PropertiesChanged"), this,
            SLOT(noteChanges(QString, QVariantMap, QStringList)));
        m_bus.connect({}, path, PlayerInterface, QStringLiteral("Seeked"), this, SLOT(noteLeap(qlonglong)));
    }

    /// The player's answer to a call.
    [[nodiscard]] QDBusMessage ask(
        const QString &interface, const QString &method, const QVariantList &arguments = {}) const
    {
        return m_bus.call(message(interface, method, arguments), QDBus::BlockWithGui);
    }

    /// The same later on.
    [[nodiscard]] QDBusPendingCall send(
        const QString &interface, const QString &method, const QVariantList &arguments = {}) const
    {
        return m_bus.asyncCall(message(interface, method, arguments));
    }

    /// All of an interface, while the player's main thread does nothing.
    [[nodiscard]] QVariantMap allAtOnce(const QString &interface) const
    {
        const QDBusMessage call = message(PropertiesInterface, QStringLiteral("GetAll"), {interface});
        return properties(m_bus.call(call, QDBus::Block, 5000));
    }

    [[nodiscard]] static QVariantMap properties(const QDBusMessage &answer)
    {
        auto all = qdbus_cast<QVariantMap>(answer.arguments().value(0));
        const auto metadata = all.find(QStringLiteral("Metadata"));
        if (metadata != all.end())
            *metadata = qdbus_cast<QVariantMap>(*metadata);
        return all;
    }

    /// Waits until the player's thread of the bus has what was sent before, while its main thread does nothing.
    void ping() const
    {
        m_bus.call(
            message(QStringLiteral("org.freedesktop.DBus.Peer"), QStringLiteral("Ping"), {}), QDBus::Block);
    }

    /// Calls a verb of the player; the name of the error, if any.
    QString call(const QString &method, const QVariantList &arguments = {}) const
    {
        return ask(PlayerInterface, method, arguments).errorName();
    }

    [[nodiscard]] QVariant get(const QString &name) const
    {
        const QDBusMessage answer = ask(PropertiesInterface, QStringLiteral("Get"), {PlayerInterface, name});
        const QVariant value = qvariant_cast<QDBusVariant>(answer.arguments().value(0)).variant();
        return name == QStringLiteral("Metadata") ? qdbus_cast<QVariantMap>(value) : value;
    }

    /// The name of the error, if any.
    QString set(const QString &name, const QVariant &value) const
    {
        const QVariant wrapped = QVariant::fromValue(QDBusVariant(value));
        return ask(PropertiesInterface, QStringLiteral("Set"), {PlayerInterface, name, wrapped}).errorName();
    }

    [[nodiscard]] QVariantMap all(const QString &interface) const
    {
        return properties(ask(PropertiesInterface, QStringLiteral("GetAll"), {interface}));
    }

    /// What the player has told up to now, since this was asked last: "PlaybackStatus=Playing Shuffle=true" of one
    /// signal, "Seeked 5000000" of another, with commas between; of metadata their names only.
    [[nodiscard]] QString told()
    {
        (void)get(QStringLiteral("Rate")); // comes behind all signals that are on their way
        QCoreApplication::processEvents();
        return std::exchange(m_told, {}).join(QStringLiteral(", "));
    }

    [[nodiscard]] bool sees(const QString &name) const
    {
        return m_bus.interface()->isServiceRegistered(name);
    }

    /// Takes a name of the bus.
    [[nodiscard]] bool take(const QString &name) { return m_bus.registerService(name); }
    void release(const QString &name) { m_bus.unregisterService(name); }

private:
    [[nodiscard]] QDBusMessage message(
        const QString &interface, const QString &method, const QVariantList &arguments) const
    {
        QDBusMessage call = QDBusMessage::createMethodCall(
            address, QStringLiteral("/org/mpris/MediaPlayer2"), interface, method);
        call.setArguments(arguments);
        return call;
    }
    Q_SLOT void noteChanges(
        const QString &interface, const QVariantMap &changed, const QStringList &invalidated)
    {
        QStringList words = invalidated;
        for (const auto &[name, value] : changed.asKeyValueRange()) {
            const bool isMap = value.canConvert<QDBusArgument>();
            words.append(
                name + u'=' + (isMap ? qdbus_cast<QVariantMap>(value).keys().join(u' ') : value.toString()));
        }
        m_told.append((interface == PlayerInterface ? QString() : interface + u' ') + words.join(u' '));
    }
    Q_SLOT void noteLeap(qlonglong position) { m_told.append(QStringLiteral("Seeked %1").arg(position)); }

    QDBusConnection m_bus;
    QStringList m_told;
};
