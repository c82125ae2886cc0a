#include "platform/desktop/window_front.h"

#include <xcb/xcb.h>

#include <QByteArray>
#include <QGuiApplication>
#include <QStyleHints>
#include <QWindow>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>

namespace quorin::desktop {
namespace {

/// Null elsewhere than on X11.
xcb_connection_t* x11Connection() {
  const auto* const application = qobject_cast<QGuiApplication*>(QCoreApplication::instance());
  const auto* const x11 =
      application ? application->nativeInterface<QNativeInterface::QX11Application>() : nullptr;
  return x11 ? x11->connection() : nullptr;
}

template <typename Reply>
auto owned(Reply* reply) {
  return std::unique_ptr<Reply, decltype(&std::free)>(reply, std::free);
}

xcb_atom_t atom(xcb_connection_t* connection, std::string_view name) {
  const auto asked =
      xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.data());
  const auto reply = owned(xcb_intern_atom_reply(connection, asked, nullptr));
  return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

/// Sends the root window a message about `window`, in elements of `format` bits: at most 20 bytes.
void sendToRoot(xcb_connection_t* connection, std::uint32_t mask, xcb_window_t window,
                std::string_view type, std::uint8_t format, QByteArrayView data) {
  xcb_client_message_event_t event{};
  event.response_type = XCB_CLIENT_MESSAGE;
  event.format = format;
  event.window = window;
  event.type = atom(connection, type);
  std::memcpy(&event.data, data.data(), static_cast<std::size_t>(data.size()));
  xcb_send_event(connection, 0, xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root,
                 mask, reinterpret_cast<const char*>(&event));
}

/// Asks the window manager, with the source of the request and its time.
void activate(xcb_connection_t* connection, xcb_window_t window, std::uint32_t time) {
  constexpr std::uint32_t kOnBehalfOfTheUser = 2;
  const std::uint32_t data[] = {kOnBehalfOfTheUser, time};
  sendToRoot(connection, XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
             window, "_NET_ACTIVE_WINDOW", 32, {reinterpret_cast<const char*>(data), sizeof data});
}

/// Broadcasts the end of the start, 20 bytes a message, with a final zero.
void endStartup(xcb_connection_t* connection, xcb_window_t window, QByteArray id) {
  id.replace('\\', "\\\\").replace('"', "\\\"");
  const QByteArray text = "remove: ID=\"" + id + '"' + '\0';
  for (qsizetype at = 0; at < text.size(); at += 20) {
    sendToRoot(connection, XCB_EVENT_MASK_PROPERTY_CHANGE, window,
               at == 0 ? "_NET_STARTUP_INFO_BEGIN" : "_NET_STARTUP_INFO", 8, text.mid(at, 20));
  }
}

}  // namespace

void bringToFront(QWindow& window, const QString& token) {
  if (auto* const connection = x11Connection()) {
    const auto id = static_cast<xcb_window_t>(window.winId());
    activate(connection, id, token.section(QStringLiteral("_TIME"), 1).toUInt());
    if (!token.isEmpty()) endStartup(connection, id, token.toUtf8());
    xcb_flush(connection);
    return;
  }
  // Qt's Wayland plug-in takes it from here.
  if (!token.isEmpty()) qputenv("XDG_ACTIVATION_TOKEN", token.toUtf8());
  window.requestActivate();
}

bool hasX11Tray() {
  auto* const connection = x11Connection();
  if (!connection) return false;
  const auto asked = xcb_get_selection_owner(connection, atom(connection, "_NET_SYSTEM_TRAY_S0"));
  const auto reply = owned(xcb_get_selection_owner_reply(connection, asked, nullptr));
  return reply && reply->owner != XCB_WINDOW_NONE;
}

void askForDarkTitleBar(WId window) {
#if QT_VERSION >= QT_VERSION_CHECK(6, 8, 0)
  QGuiApplication::styleHints()->setColorScheme(Qt::ColorScheme::Dark);
#endif
  auto* const connection = x11Connection();
  if (!connection) return;
  // What GTK's programs ask for, and window managers know.
  constexpr std::string_view kDark = "dark";
  xcb_change_property(connection, XCB_PROP_MODE_REPLACE, static_cast<xcb_window_t>(window),
                      atom(connection, "_GTK_THEME_VARIANT"), atom(connection, "UTF8_STRING"), 8,
                      kDark.size(), kDark.data());
}

}  // namespace quorin::desktop
