#pragma once

#include <QObject>
#include <QPointer>
#include <QVariant>

class QDBusMessage;
class QDBusObjectPath;
class QDBusPendingCallWatcher;
template <typename... Types> class QDBusPendingReply;

/// The desktop's portal on the session bus, and the object of it that answers questions.
inline const auto PortalService = QStringLiteral("org.freedesktop.portal.Desktop");
inline const auto PortalPath = QStringLiteral("/org/freedesktop/portal/desktop");

/// A question to the desktop portal on the session bus that is answered later.
///
/// Never waits for the portal, and starts it if it is not there. Destroying this takes the question back, also if it
/// has not reached the portal yet. The protocol is org.freedesktop.portal.Request of
/// https://flatpak.github.io/xdg-desktop-portal. Main thread only.
class PortalRequest : public QObject {
    Q_OBJECT

public:
    enum class Span { UntilAnswered, UntilTakenBack }; ///< the second one: also after an answer of 0

    /// Calls `method` of the portal's `interface`, named without its prefix, with `arguments` and then `options`.
    PortalRequest(const QString &interface, const QString &method, const QVariantList &arguments,
        const QVariantMap &options, Span span, QObject *parent);
    ~PortalRequest() override;

Q_SIGNALS:
    /// There is no portal that can be asked this, or none that takes the question within 5 seconds.
    void failed();

    /// The answer, and 0, or another number if there is none.
    void answered(uint response, const QVariantMap &results);

    /// The portal has left the bus with the question.
    void lost();

private:
    void ask(const QDBusMessage &call);
    void handleReply(const QDBusPendingReply<QDBusObjectPath> &handle);
    Q_SLOT void handleResponse(uint response, const QVariantMap &results, const QDBusMessage &signal);
    void giveUp();

    enum class State { Asked, Open, Over };

    Span m_span;
    State m_state = State::Asked;
    QPointer<QDBusPendingCallWatcher>
        m_reply; ///< that says whether the portal takes the question; null once it has
    QString m_handle; ///< the path of the portal's object for this question
};
