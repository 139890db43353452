#include "mpris/Mpris.h"

#include "files/DetachedThread.h"
#include "files/LocalFile.h"
#include "files/Sandbox.h"

#include <QDBusConnectionInterface>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusPendingReply>
#include <QDBusVirtualObject>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QPointer>
#include <QRandomGenerator>
#include <algorithm>
#include <cmath>
#include <mutex>

using namespace Qt::StringLiterals;

namespace {

const auto Path = u"/org/mpris/MediaPlayer2"_s;
const auto Root = u"org.mpris.MediaPlayer2"_s;
const auto Player = u"org.mpris.MediaPlayer2.Player"_s;
const auto Properties = u"org.freedesktop.DBus.Properties"_s;
const QStringList Standard{
    Properties, u"org.freedesktop.DBus.Introspectable"_s, u"org.freedesktop.DBus.Peer"_s};
const auto Name = u"org.mpris.MediaPlayer2.lumaverdine"_s;

// Of RequestName, in https://dbus.freedesktop.org/doc/dbus-specification.html.
constexpr uint DoNotQueue = 4;
constexpr uint NameExists = 3;

constexpr double Second = 1e6; // in microseconds

qlonglong microseconds(double seconds)
{
    constexpr double most = 0x1p62; // far within 64 bits
    return std::llround(std::clamp(seconds * Second, 0.0, most));
}

/// For a second player. Within a sandbox all have the same process id.
QString instanceName()
{
    const quint64 number = isSandboxed() ? QRandomGenerator::system()->generate64()
                                         : quint64(QCoreApplication::applicationPid());
    return Name + u".instance"_s + QString::number(number);
}

using Write = bool (*)(PlayerManager &, const QVariant &);

/// What a client may set; false for a value that is refused.
const QHash<QString, Write> &writes()
{
    static const QHash<QString, Write> table{
        {u"LoopStatus"_s,
            [](PlayerManager &player, const QVariant &value) {
                const bool isRepeating = value == u"Track"_s;
                if (isRepeating || value == u"None"_s)
                    player.isRepeating = isRepeating;
                return isRepeating || value == u"None"_s;
            }},
        {u"Rate"_s, // another speed is ignored
            [](PlayerManager &player, const QVariant &value) {
                if (value == 0.0)
                    player.pause();
                return std::isfinite(value.toDouble());
            }},
        {u"Shuffle"_s,
            [](PlayerManager &player, const QVariant &value) {
                player.isShuffling = value.toBool();
                return true;
            }},
        {u"Volume"_s,
            [](PlayerManager &player, const QVariant &value) {
                const double volume = value.toDouble();
                if (std::isfinite(volume))
                    player.volume = std::clamp(volume, 0.0, 1.0);
                return std::isfinite(volume);
            }},
    };
    return table;
}

} // namespace

struct Mpris::Method {
    QString interface;
    QString name;
    QString signature; ///< one letter an argument
    QStringList arguments; ///< their names
    std::function<QDBusMessage(Mpris &, const QDBusMessage &)> answer;
};

const QList<Mpris::Method> &Mpris::methods()
{
    const auto verb = [](auto operation) {
        return [operation](Mpris &mpris, const QDBusMessage &call) {
            operation(mpris, call.arguments());
            return call.createReply();
        };
    };
    const auto player = [verb](void (PlayerManager::*operation)()) {
        return verb([operation](Mpris &mpris, const QVariantList &) { (mpris.m_player.*operation)(); });
    };
    static const QList<Method> table{
        {Root, u"Raise"_s, {}, {}, verb([](Mpris &mpris, const QVariantList &) { mpris.m_raise(); })},
        {Root, u"Quit"_s, {}, {}, verb([](Mpris &mpris, const QVariantList &) { mpris.m_quit(); })},
        {Player, u"Next"_s, {}, {}, player(&PlayerManager::next)},
        {Player, u"Previous"_s, {}, {}, player(&PlayerManager::previous)},
        {Player, u"Pause"_s, {}, {}, player(&PlayerManager::pause)},
        {Player, u"PlayPause"_s, {}, {}, player(&PlayerManager::togglePlayback)},
        {Player, u"Stop"_s, {}, {}, player(&PlayerManager::stop)},
        {Player, u"Play"_s, {}, {}, player(&PlayerManager::play)},
        {Player, u"Seek"_s, u"x"_s, {u"Offset"_s},
            verb([](Mpris &mpris, const QVariantList &given) { mpris.seek(given.first().toLongLong()); })},
        {Player, u"SetPosition"_s, u"ox"_s, {u"TrackId"_s, u"Position"_s},
            verb([](Mpris &mpris, const QVariantList &given) {
                const auto track = qvariant_cast<QDBusObjectPath>(given.first());
                mpris.setPosition(track.path(), given.last().toLongLong());
            })},
        {Player, u"OpenUri"_s, u"s"_s, {u"Uri"_s},
            [](const Mpris &, const QDBusMessage &call) {
                return call.createErrorReply(QDBusError::NotSupported, u"No addresses are opened"_s);
            }},
        {Properties, u"Get"_s, u"ss"_s, {}, &Mpris::getOrSet},
        {Properties, u"GetAll"_s, u"s"_s, {}, &Mpris::getAll},
        {Properties, u"Set"_s, u"ssv"_s, {}, &Mpris::getOrSet},
    };
    return table;
}

/// The object that clients call. It lives in the thread of the bus library and answers there from what is kept if they ask
/// for all of an interface, as shells do many times a second: that wakes no other thread. Every other call is answered on
/// the main thread; so is this one if nothing is kept or if calls that came before are still on their way there.
struct Mpris::BusObject : QDBusVirtualObject {
    BusObject(Mpris &owner, QString xml)
        : mpris(owner)
        , description(std::move(xml))
    {
    }

    void keep(const QHash<QString, QVariantMap> &interfaces, bool isPlaying);
    void keepNothing();
    bool handleMessage(const QDBusMessage &call, const QDBusConnection &bus) override;
    [[nodiscard]] QString introspect(const QString &) const override { return description; }

    Mpris &mpris;
    const QString description;
    std::mutex mutex; ///< guards what follows
    QHash<QString, QVariantMap> kept; ///< the properties of each interface; empty for nothing
    qlonglong position = 0; ///< when it was kept last
    QElapsedTimer age; ///< of the position, which has gone on since; invalid if it stands still
    int callsOnTheirWay = 0; ///< to the main thread
};

void Mpris::BusObject::keep(const QHash<QString, QVariantMap> &interfaces, bool isPlaying)
{
    const std::lock_guard lock(mutex);
    kept = interfaces;
    const qlonglong former = std::exchange(position, kept.value(Player).value(u"Position"_s).toLongLong());
    age.invalidate();
    if (isPlaying && position != former) // a sound server may hold it up
        age.start();
}

void Mpris::BusObject::keepNothing()
{
    const std::lock_guard lock(mutex);
    kept.clear();
}

bool Mpris::BusObject::handleMessage(const QDBusMessage &call, const QDBusConnection &bus)
{
    const Method *method = calledMethod(call);
    if (!method && call.interface() != Root && call.interface() != Player)
        return false; // introspection, or an error of the toolkit's
    const bool asksForAll = method && method->name == "GetAll"_L1 && call.signature() == method->signature;
    const QString interface = call.arguments().value(0).toString();
    const std::lock_guard lock(mutex);
    if (asksForAll && kept.contains(interface) && callsOnTheirWay == 0) {
        if (age.isValid())
            kept[Player].insert(u"Position"_s, position + age.nsecsElapsed() / 1000);
        return bus.send(call.createReply(kept.value(interface)));
    }
    ++callsOnTheirWay;
    const auto answer = [this, call, method] {
        mpris.answer(call, method);
        const std::lock_guard isAnswered(mutex);
        --callsOnTheirWay;
    };
    return QMetaObject::invokeMethod(&mpris, answer, Qt::QueuedConnection);
}

Mpris::Mpris(PlayerManager &player, std::function<void()> raise, std::function<void()> quit)
    : m_player(player)
    , m_raise(std::move(raise))
    , m_quit(std::move(quit))
{
}

Mpris::~Mpris()
{
    if (!m_object || m_object->thread() == thread())
        return;
    const auto bringHome = [this] { m_object->moveToThread(thread()); };
    QMetaObject::invokeMethod(m_object.get(), bringHome, Qt::BlockingQueuedConnection); // behind a call
}

// Joining the bus

void Mpris::start()
{
    auto *messenger = new QObject; // stays for the thread, also after the application
    const auto connectToBus = [self = QPointer(this), messenger] {
        CoverFile::removeLeftovers();
        const QDBusConnection bus = QDBusConnection::sessionBus(); // which a bus that hangs may keep for long
        const auto deliver = [self, bus, messenger] {
            messenger->deleteLater();
            if (self && bus.isConnected())
                self->join(bus);
        };
        QMetaObject::invokeMethod(messenger, deliver, Qt::QueuedConnection);
    };
    (void)startDetachedThread(connectToBus);
}

/// The object is complete before it has its name: clients ask as soon as they see that.
void Mpris::join(const QDBusConnection &bus)
{
    m_bus = bus;
    m_announced = announcedProperties();
    m_object = std::make_unique<BusObject>(*this, describe(Root) + describe(Player));
    if (const QObject *library = m_bus.interface()) // null if the bus has died meanwhile
        m_object->moveToThread(library->thread());
    m_bus.registerVirtualObject(Path, m_object.get());
    connect(&m_player, &ObservableObject::objectWillChange, this, &Mpris::markOutOfDate);
    connect(&m_player, &PlayerManager::positionSet, this, &Mpris::noteLeap);
    connect(&m_cover, &CoverFile::changed, this, &Mpris::markOutOfDate);
    markOutOfDate();
    requestName(Name);
}

void Mpris::requestName(const QString &name)
{
    QDBusMessage request = QDBusMessage::createMethodCall(
        u"org.freedesktop.DBus"_s, u"/org/freedesktop/DBus"_s, u"org.freedesktop.DBus"_s, u"RequestName"_s);
    request.setArguments({name, DoNotQueue});
    auto *answer = new QDBusPendingCallWatcher(m_bus.asyncCall(request), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer, name] {
        answer->deleteLater();
        const QDBusPendingReply<uint> reply = *answer;
        if (!reply.isError() && reply.value() == NameExists && name == Name)
            requestName(instanceName());
    });
}

// Telling what has changed

void Mpris::send(const QString &interface, const QString &signal, const QVariantList &arguments)
{
    QDBusMessage message = QDBusMessage::createSignal(Path, interface, signal);
    message.setArguments(arguments);
    m_bus.send(message);
}

void Mpris::markOutOfDate()
{
    if (std::exchange(m_isOutOfDate, true))
        return;
    m_object->keepNothing();
    QMetaObject::invokeMethod(this, &Mpris::announce, Qt::QueuedConnection);
}

/// That a track begins at its start is expected, unless clients know it already.
void Mpris::noteLeap()
{
    const QString track = trackPath();
    m_hasLeapt = track == m_latestTrack || track == m_announcedTrack;
    m_latestTrack = track;
}

void Mpris::announce()
{
    m_isOutOfDate = false;
    const auto &track = m_player.currentTrack();
    m_cover.show(track ? track->artwork : std::nullopt);

    const QVariantMap known = std::exchange(m_announced, announcedProperties());
    QVariantMap changed;
    for (const auto &[name, value] : m_announced.asKeyValueRange()) {
        if (known.value(name) != value)
            changed.insert(name, value);
    }
    if (!changed.isEmpty())
        send(Properties, u"PropertiesChanged"_s, {Player, changed, QStringList()});
    // What has just begun to sound is heard a little later, so that its position does not go on evenly yet.
    if (!m_player.isPlaying() || (changed.isEmpty() && !m_hasLeapt))
        m_object->keep({{Root, *properties(Root)}, {Player, *properties(Player)}}, m_player.isPlaying());
    if (std::exchange(m_hasLeapt, false) && track)
        send(Player, u"Seeked"_s, {microseconds(m_player.position())});
    m_announcedTrack = trackPath();
}

// The state

/// Those of an interface; of all for no name. Nothing if there is no such interface.
std::optional<QVariantMap> Mpris::properties(const QString &interface) const
{
    if (interface == Root) {
        return QVariantMap{
            {u"CanQuit"_s, true},
            {u"CanRaise"_s, true},
            {u"DesktopEntry"_s, QGuiApplication::desktopFileName()},
            {u"HasTrackList"_s, false},
            {u"Identity"_s, u"Lumaverdine"_s},
            {u"SupportedMimeTypes"_s, QStringList()},
            {u"SupportedUriSchemes"_s, QStringList()},
        };
    }
    if (interface == Player) {
        QVariantMap all = m_isOutOfDate ? announcedProperties() : m_announced;
        all.insert(u"CanControl"_s, true);
        all.insert(u"Position"_s, microseconds(m_player.position()));
        return all;
    }
    if (interface.isEmpty()) {
        QVariantMap all = properties(Player).value();
        all.insert(properties(Root).value());
        return all;
    }
    const bool isStandard = Standard.contains(interface);
    return isStandard ? std::optional(QVariantMap()) : std::nullopt;
}

/// Those of the player of whose changes clients are told.
QVariantMap Mpris::announcedProperties() const
{
    const bool isFilled = !m_player.playlist().isEmpty();
    return {
        {u"CanGoNext"_s, isFilled},
        {u"CanGoPrevious"_s, isFilled},
        {u"CanPause"_s, isFilled},
        {u"CanPlay"_s, isFilled},
        {u"CanSeek"_s, isFilled},
        {u"LoopStatus"_s, m_player.isRepeating() ? u"Track"_s : u"None"_s},
        {u"MaximumRate"_s, 1.0},
        {u"Metadata"_s, metadata()},
        {u"MinimumRate"_s, 1.0},
        {u"PlaybackStatus"_s, playbackStatus()},
        {u"Rate"_s, 1.0},
        {u"Shuffle"_s, m_player.isShuffling()},
        {u"Volume"_s, m_player.volume()},
    };
}

QString Mpris::playbackStatus() const
{
    if (!m_player.currentTrack() || m_player.isStopped())
        return u"Stopped"_s;
    return m_player.isPlaying() ? u"Playing"_s : u"Paused"_s;
}

/// The form of https://www.freedesktop.org/wiki/Specifications/mpris-spec/metadata.
QVariantMap Mpris::metadata() const
{
    if (!m_player.currentTrack())
        return {};
    const Track &track = *m_player.currentTrack();
    QVariantMap data{
        {u"mpris:trackid"_s, QVariant::fromValue(QDBusObjectPath(trackPath()))},
        {u"xesam:title"_s, track.title},
        {u"xesam:url"_s, QString::fromLatin1("file://" + localFilePath(track.url()).toPercentEncoding("/"))},
    };
    if (length() > 0)
        data.insert(u"mpris:length"_s, microseconds(length()));
    if (track.artist != Track::unknownArtist())
        data.insert(u"xesam:artist"_s, QStringList{track.artist});
    if (track.album != Track::unknownAlbum())
        data.insert(u"xesam:album"_s, track.album);
    if (const QUrl cover = m_cover.url(); !cover.isEmpty())
        data.insert(u"mpris:artUrl"_s, cover.toString(QUrl::FullyEncoded));
    return data;
}

/// Seconds. A length that the player has guessed may grow while it plays, up to the container's. 0 if the container tells
/// none: the player knows only as much as it has decoded then.
double Mpris::length() const
{
    const auto &track = m_player.currentTrack();
    return track && track->duration > 0 ? std::max(track->duration, m_player.duration()) : 0;
}

/// Of the current track; empty if there is none.
QString Mpris::trackPath() const
{
    const auto &track = m_player.currentTrack();
    return track ? u"/org/lumaverdine/track/"_s + track->id().toString(QUuid::Id128) : QString();
}

// Calls

/// Null if there is none of that name.
const Mpris::Method *Mpris::calledMethod(const QDBusMessage &call)
{
    const QString interface = call.interface();
    const auto isCalled = [&](const Method &method) {
        return method.name == call.member() && (interface.isEmpty() || interface == method.interface);
    };
    const auto method = std::find_if(methods().begin(), methods().end(), isCalled);
    return method == methods().end() ? nullptr : &*method;
}

void Mpris::answer(const QDBusMessage &call, const Method *method)
{
    const QDBusMessage reply = !method ? call.createErrorReply(QDBusError::UnknownMethod, u"No such method"_s)
        : method->signature != call.signature()
        ? call.createErrorReply(QDBusError::InvalidArgs, u"The arguments are of another type"_s)
        : method->answer(*this, call);
    if (call.isReplyRequired())
        m_bus.send(reply);
}

QDBusMessage Mpris::getAll(const QDBusMessage &call) const
{
    const auto known = properties(call.arguments().first().toString());
    return known ? call.createReply(*known)
                 : call.createErrorReply(QDBusError::UnknownInterface, u"No such interface"_s);
}

/// Get, and Set, which comes with a value.
QDBusMessage Mpris::getOrSet(const QDBusMessage &call)
{
    const QVariantList given = call.arguments();
    const auto known = properties(given.at(0).toString());
    if (!known)
        return call.createErrorReply(QDBusError::UnknownInterface, u"No such interface"_s);
    const QString name = given.at(1).toString();
    const auto value = known->constFind(name);
    if (value == known->cend())
        return call.createErrorReply(QDBusError::UnknownProperty, u"No such property"_s);
    if (given.size() == 2)
        return call.createReply(QVariant::fromValue(QDBusVariant(*value)));

    const Write write = writes().value(name);
    if (!write)
        return call.createErrorReply(QDBusError::PropertyReadOnly, u"The property is only read"_s);
    const QVariant wanted = qvariant_cast<QDBusVariant>(given.at(2)).variant();
    if (wanted.metaType() != value->metaType() || !write(m_player, wanted))
        return call.createErrorReply(QDBusError::InvalidArgs, u"The property has no such value"_s);
    return call.createReply();
}

/// What is past the end is the next track's.
void Mpris::seek(qlonglong offset)
{
    const double target = m_player.position() + static_cast<double>(offset) / Second;
    if (length() > 0 && target > length())
        m_player.next();
    else
        m_player.seek(target);
}

/// Leaves alone a track that is not the current one any more, and a place that it does not have.
void Mpris::setPosition(const QString &track, qlonglong position)
{
    const double end = std::max(length(), m_player.duration());
    if (track == trackPath() && position >= 0 && position <= microseconds(end))
        m_player.seek(static_cast<double>(position) / Second);
}

// Introspection; the toolkit adds the standard interfaces.

QString Mpris::describe(const QString &interface) const
{
    QString xml = u"<interface name=\"%1\">"_s.arg(interface);
    for (const Method &method : methods()) {
        if (method.interface != interface)
            continue;
        xml += u"<method name=\"%1\">"_s.arg(method.name);
        for (qsizetype i = 0; i < method.arguments.size(); ++i) {
            xml += u"<arg name=\"%1\" type=\"%2\" direction=\"in\"/>"_s.arg(
                method.arguments.at(i), method.signature.at(i));
        }
        xml += u"</method>"_s;
    }
    if (interface == Player)
        xml += u"<signal name=\"Seeked\"><arg name=\"Position\" type=\"x\"/></signal>"_s;
    const QVariantMap known = properties(interface).value();
    for (const auto &[name, value] : known.asKeyValueRange()) {
        xml += u"<property name=\"%1\" type=\"%2\" access=\"%3\">"_s.arg(name,
            QLatin1StringView(QDBusMetaType::typeToSignature(value.metaType())),
            writes().contains(name) ? u"readwrite"_s : u"read"_s);
        if (interface == Player && !m_announced.contains(name))
            xml +=
                u"<annotation name=\"org.freedesktop.DBus.Property.EmitsChangedSignal\" value=\"false\"/>"_s;
        xml += u"</property>"_s;
    }
    return xml + u"</interface>"_s;
}
