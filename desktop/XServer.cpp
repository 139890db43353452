#include "desktop/XServer.h"

#include <QDBusConnection>
#include <QDataStream>
#include <QGuiApplication>
#include <QIODevice>
#include <algorithm>
#include <cstdlib>
#include <memory>
#include <string_view>
#include <xcb/xcb.h>

using namespace Qt::StringLiterals;

namespace {

constexpr std::uint32_t MostWords = 1 << 16; // of the property

constexpr std::string_view CompositorSelection = "_NET_WM_CM_S0"; // Extended Window Manager Hints

/// What the server's XFIXES extension sends when a selection gets another owner, or none. The toolkit has asked for
/// those of the compositor's.
struct SelectionNotice {
    std::uint8_t kind;
    std::uint8_t reason;
    std::uint16_t sequence;
    xcb_window_t window;
    xcb_window_t owner;
    xcb_atom_t selection;
};
constexpr int FirstOfExtensions = 64; // kinds of events

enum Type : quint8 { Number = 0, Text = 1, Color = 2 };

/// A reply of the server, to be freed after its last use.
template <typename Reply> std::unique_ptr<Reply, decltype(&std::free)> owned(Reply *reply)
{
    return {reply, &std::free};
}

/// The toolkit's connection to the server; null if the display is no X server.
xcb_connection_t *connection()
{
    const auto *x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 ? x11->connection() : nullptr;
}

/// The number that the server has, or now makes, for a name; 0 if it does not answer.
xcb_atom_t atom(xcb_connection_t *server, std::string_view name)
{
    const auto request = xcb_intern_atom(server, 0, static_cast<std::uint16_t>(name.size()), name.data());
    const auto reply = owned(xcb_intern_atom_reply(server, request, nullptr));
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

/// The window that owns the selection of this name; 0 if none does.
xcb_window_t owner(xcb_connection_t *server, std::string_view selection)
{
    const auto request = xcb_get_selection_owner(server, atom(server, selection));
    const auto reply = owned(xcb_get_selection_owner_reply(server, request, nullptr));
    return reply ? reply->owner : xcb_window_t{XCB_WINDOW_NONE};
}

/// Bytes that are followed by as many as fill them up to a multiple of four.
QByteArray readPadded(QDataStream &stream, qint64 size)
{
    QByteArray bytes = stream.device()->read(std::min(size, stream.device()->bytesAvailable()));
    if (bytes.size() < size)
        stream.setStatus(QDataStream::ReadPastEnd);
    stream.skipRawData(static_cast<int>((4 - size % 4) % 4));
    return bytes;
}

QVariant readValue(QDataStream &stream, quint8 type)
{
    if (type == Number) {
        qint32 number = 0;
        stream >> number;
        return number;
    }
    if (type == Text) {
        quint32 size = 0;
        stream >> size;
        return QString::fromUtf8(readPadded(stream, size));
    }
    if (type == Color)
        stream.skipRawData(4 * sizeof(quint16));
    else
        stream.setStatus(QDataStream::ReadCorruptData);
    return {};
}

} // namespace

Compositing::Compositing(Follower follower)
    : m_follower(std::move(follower))
{
    xcb_connection_t *server = connection();
    if (!server) {
        m_follower(QGuiApplication::platformName().startsWith(u"wayland"_s));
        return;
    }
    m_selection = atom(server, CompositorSelection);
    qGuiApp->installNativeEventFilter(this);
    // KWin gives the selection up two seconds after it has suspended. Without the name of its service: to look up the
    // owner, the toolkit would wait for the bus.
    QDBusConnection::sessionBus().connect({}, u"/Compositor"_s, u"org.kde.kwin.Compositing"_s,
        u"compositingToggled"_s, this, SLOT(follow(bool)));
    follow(owner(server, CompositorSelection) != XCB_WINDOW_NONE);
}

void Compositing::follow(bool isComposited)
{
    m_follower(isComposited);
}

bool Compositing::nativeEventFilter(const QByteArray &, void *message, qintptr *)
{
    const auto *notice = static_cast<const SelectionNotice *>(message);
    // Another extension's event may look the same, so the owner is asked for.
    if ((notice->kind & 0x7f) >= FirstOfExtensions && notice->selection == m_selection)
        follow(owner(connection(), CompositorSelection) != XCB_WINDOW_NONE);
    return false;
}

XSettings::XSettings(Follower follower)
    : m_follower(std::move(follower))
{
    xcb_connection_t *server = connection();
    if (!server)
        return;
    m_property = atom(server, "_XSETTINGS_SETTINGS");
    m_arrival = atom(server, "MANAGER");
    qGuiApp->installNativeEventFilter(this);
    read();
}

void XSettings::read()
{
    xcb_connection_t *server = connection();
    const xcb_window_t publisher = owner(server, "_XSETTINGS_S0");
    if (!publisher)
        return;
    // The toolkit wants these events of it, too.
    const std::uint32_t events = XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(server, publisher, XCB_CW_EVENT_MASK, &events);
    const auto request =
        xcb_get_property(server, 0, publisher, m_property, XCB_GET_PROPERTY_TYPE_ANY, 0, MostWords);
    const auto property = owned(xcb_get_property_reply(server, request, nullptr));
    if (!property)
        return;
    const auto *bytes = static_cast<const char *>(xcb_get_property_value(property.get()));
    m_follower(parse({bytes, xcb_get_property_value_length(property.get())}));
}

QVariantMap XSettings::parse(const QByteArray &property)
{
    QDataStream stream(property);
    stream.setByteOrder(property.startsWith('\0') ? QDataStream::LittleEndian : QDataStream::BigEndian);
    quint64 orderAndSerial = 0;
    quint32 count = 0;
    stream >> orderAndSerial >> count;
    QVariantMap settings;
    for (; count > 0 && stream.status() == QDataStream::Ok; --count) {
        quint8 type = 0;
        quint8 unused = 0;
        quint16 nameSize = 0;
        quint32 serial = 0;
        stream >> type >> unused >> nameSize;
        const QString name = QString::fromUtf8(readPadded(stream, nameSize));
        stream >> serial;
        const QVariant value = readValue(stream, type);
        if (stream.status() == QDataStream::Ok)
            settings.insert(name, value);
    }
    return settings;
}

bool XSettings::nativeEventFilter(const QByteArray &, void *message, qintptr *)
{
    const auto *event = static_cast<const xcb_generic_event_t *>(message);
    const int kind = event->response_type & 0x7f; // without the mark of those that programs send
    const auto *property = static_cast<const xcb_property_notify_event_t *>(message);
    const auto *client = static_cast<const xcb_client_message_event_t *>(message);
    const bool hasChanged = kind == XCB_PROPERTY_NOTIFY && property->atom == m_property;
    const bool hasCome = kind == XCB_CLIENT_MESSAGE && client->type == m_arrival;
    if (hasChanged || hasCome)
        read();
    return false;
}
