#pragma once

#include "mpris/CoverFile.h"
#include "player/PayerManager.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <functional>
#include <memory>

/// The player as the desktop's shell, media keys and headphones know it: MPRIS 2.2 on the session bus, see
/// https://specifications.freedesktop.org/mpris-spec/2.2.
///
/// One more caller of the player's operations. Looks at the player's state once a turn of the event loop and tells
/// what differs. Main thread only; nothing waits for the bus, and without one nothing happens.
class Mpris : public QObject {
    Q_OBJECT

public:
    /// `raise` brings the player's window to the front, `quit` ends the program.
    Mpris(PlayerManager &player, std::function<void()> raise, std::function<void()> quit);
    ~Mpris() override;

    /// Joins the session bus under the name org.mpris.MediaPlayer2.lumaverdine; with a suffix of its own if another
    /// player has that name.
    void start();

private:
    struct BusObject;
    struct Method;
    [[nodiscard]] static const QList<Method> &methods();
    [[nodiscard]] static const Method *calledMethod(const QDBusMessage &call);

    void join(const QDBusConnection &bus);
    void requestName(const QString &name);
    void send(const QString &interface, const QString &signal, const QVariantList &arguments);
    void markOutOfDate();
    void announce();
    void noteLeap();

    [[nodiscard]] std::optional<QVariantMap> properties(const QString &interface) const;
    [[nodiscard]] QVariantMap announcedProperties() const;
    [[nodiscard]] QString playbackStatus() const;
    [[nodiscard]] QVariantMap metadata() const;
    [[nodiscard]] double length() const;
    [[nodiscard]] QString trackPath() const;

    void answer(const QDBusMessage &call, const Method *method);
    [[nodiscard]] QDBusMessage getAll(const QDBusMessage &call) const;
    [[nodiscard]] QDBusMessage getOrSet(const QDBusMessage &call);
    void seek(qlonglong offset);
    void setPosition(const QString &track, qlonglong position);
    [[nodiscard]] QString describe(const QString &interface) const;

    PlayerManager &m_player;
    const std::function<void()> m_raise;
    const std::function<void()> m_quit;
    CoverFile m_cover;
    QDBusConnection m_bus{QString()};
    std::unique_ptr<BusObject> m_object; ///< null before this has joined the bus
    QVariantMap m_announced; ///< what clients know
    QString m_announcedTrack; ///< its path
    QString m_latestTrack; ///< of which the position was set last
    bool m_hasLeapt = false; ///< that position, other than to the start of a new track
    bool m_isOutOfDate = false;
};
