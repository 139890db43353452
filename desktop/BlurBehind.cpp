#include "desktop/BlurBehind.h"

#include "desktop/XServer.h"

#include <QGuiApplication>
#include <QWindow>
#include <algorithm>
#include <string_view>

namespace {

constexpr std::string_view PropertyName = "_KDE_NET_WM_BLUR_BEHIND_REGION";

bool hasProperty(xcb_connection_t *server, xcb_window_t window, xcb_atom_t property)
{
    const auto reply =
        XServer::owned(xcb_list_properties_reply(server, xcb_list_properties(server, window), nullptr));
    if (!reply)
        return false;
    const xcb_atom_t *first = xcb_list_properties_atoms(reply.get());
    const xcb_atom_t *end = first + xcb_list_properties_atoms_length(reply.get());
    return std::find(first, end, property) != end;
}

} // namespace

BlurBehind::BlurBehind(std::function<void()> changed)
    : m_changed(std::move(changed))
{
    xcb_connection_t *server = XServer::connection();
    if (!server)
        return;
    m_property = XServer::existingAtom(server, PropertyName);
    m_isOffered = m_property && hasProperty(server, XServer::rootWindow(server), m_property);
    if (m_isOffered)
        qGuiApp->installNativeEventFilter(this);
}

std::vector<std::uint32_t> BlurBehind::rectangles(const QRegion &region, double scale)
{
    std::vector<std::uint32_t> numbers;
    for (const QRect &part : region) {
        // The edges are rounded: what adjoins goes on to do so.
        const int left = qRound(part.left() * scale);
        const int top = qRound(part.top() * scale);
        const int right = qRound((part.left() + part.width()) * scale);
        const int bottom = qRound((part.top() + part.height()) * scale);
        for (const int number : {left, top, right - left, bottom - top})
            numbers.push_back(static_cast<std::uint32_t>(number));
    }
    return numbers;
}

void BlurBehind::apply(QWindow &window, const QRegion &region) const
{
    const std::vector<std::uint32_t> numbers = rectangles(region, window.devicePixelRatio());
    xcb_change_property(XServer::connection(), XCB_PROP_MODE_REPLACE,
        static_cast<xcb_window_t>(window.winId()), m_property, XCB_ATOM_CARDINAL, 32,
        static_cast<std::uint32_t>(numbers.size()), numbers.data());
}

bool BlurBehind::nativeEventFilter(const QByteArray &, void *message, qintptr *)
{
    const auto *event = static_cast<const xcb_generic_event_t *>(message);
    if ((event->response_type & 0x7f) != XCB_PROPERTY_NOTIFY)
        return false;
    const auto *notice = static_cast<const xcb_property_notify_event_t *>(message);
    if (notice->atom == m_property && notice->window == XServer::rootWindow(XServer::connection())) {
        m_isOffered = notice->state == XCB_PROPERTY_NEW_VALUE;
        m_changed();
    }
    return false;
}
