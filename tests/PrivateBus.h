#pragma once

#include <QDBusConnection>
#include <QProcess>
#include <QTemporaryFile>
#include <csignal>

/// A session bus of its own for a test, on which the test plays the desktop's part.
///
/// It starts no services of this machine. Made before anything in the process asks for the session bus, which it then
/// is. Tests that have one may run side by side.
class PrivateBus {
public:
    PrivateBus()
    {
        if (m_configuration.open())
            m_configuration.write("<busconfig><listen>unix:tmpdir=/tmp</listen><policy context='default'>"
                                  "<allow send_destination='*'/><allow receive_sender='*'/><allow "
                                  "own='*'/></policy></busconfig>");
        m_configuration.close();
        m_daemon.start(QStringLiteral("dbus-daemon"),
            {QStringLiteral("--config-file=") + m_configuration.fileName(), QStringLiteral("--nofork"),
                QStringLiteral("--nopidfile"), QStringLiteral("--print-address")});
        if (m_daemon.waitForStarted() && m_daemon.waitForReadyRead())
            m_address = QString::fromUtf8(m_daemon.readLine().trimmed());
        qputenv("DBUS_SESSION_BUS_ADDRESS", m_address.toUtf8());
    }
    ~PrivateBus() { die(); }
    Q_DISABLE_COPY_MOVE(PrivateBus)

    /// Empty if there is no bus.
    [[nodiscard]] const QString &address() const { return m_address; }

    /// Another program's connection; each name is one program.
    [[nodiscard]] QDBusConnection connection(const QString &name) const
    {
        return QDBusConnection::connectToBus(m_address, name);
    }

    /// From now on the bus answers nobody, but is still there.
    void hang() const { ::kill(static_cast<pid_t>(m_daemon.processId()), SIGSTOP); }
    void resume() const { ::kill(static_cast<pid_t>(m_daemon.processId()), SIGCONT); }

    void die()
    {
        m_daemon.kill();
        m_daemon.waitForFinished();
    }

private:
    QTemporaryFile m_configuration;
    QProcess m_daemon;
    QString m_address;
};
