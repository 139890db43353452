#include "desktop/XSettings.h"

#include "desktop/XServer.h"

#include <QDataStream>
#include <QGuiApplication>
#include <QIODevice>
#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr std::uint32_t MostWords = 1 << 16; // of the property

enum Type : quint8 { Number = 0, Text = 1, Color = 2 };

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

XSettings::XSettings(DesktopSettings::Follower follower)
    : m_follower(std::move(follower))
{
    xcb_connection_t *server = XServer::connection();
    if (!server)
        return;
    m_property = XServer::atom(server, "_XSETTINGS_SETTINGS");
    m_arrival = XServer::atom(server, "MANAGER");
    qGuiApp->installNativeEventFilter(this);
    read();
}

void XSettings::read()
{
    xcb_connection_t *server = XServer::connection();
    const xcb_window_t publisher = XServer::owner(server, "_XSETTINGS_S0");
    if (!publisher)
        return;
    // The toolkit wants these events of it, too.
    const std::uint32_t events = XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(server, publisher, XCB_CW_EVENT_MASK, &events);
    const auto request =
        xcb_get_property(server, 0, publisher, m_property, XCB_GET_PROPERTY_TYPE_ANY, 0, MostWords);
    const auto property = XServer::owned(xcb_get_property_reply(server, request, nullptr));
    if (!property)
        return;
    const auto *bytes = static_cast<const char *>(xcb_get_property_value(property.get()));
    m_follower(settingsOf(parse({bytes, xcb_get_property_value_length(property.get())})));
}

DesktopSettings XSettings::settingsOf(const QVariantHash &published)
{
    return {ButtonLayout::parse(published.value(u"Gtk/DecorationLayout"_s).toString()),
        published.value(u"Gtk/EnableAnimations"_s, true).toBool()};
}

QVariantHash XSettings::parse(const QByteArray &property)
{
    QDataStream stream(property);
    stream.setByteOrder(property.startsWith('\0') ? QDataStream::LittleEndian : QDataStream::BigEndian);
    quint64 orderAndSerial = 0;
    quint32 count = 0;
    stream >> orderAndSerial >> count;
    QVariantHash settings;
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
