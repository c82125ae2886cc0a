#include "platform/desktop/window_front.h"

#include <xcb/xcb.h>

#include <QByteArray>
#include <QGuiApplication>
#include <QStyleHints>
#include <QWindow>
#include <algorithm>
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

xcb_atom_t atom(xcb_connection_t* connection, std::string_view name) {
  const auto asked =
      xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.data());
  const std::unique_ptr<xcb_intern_atom_reply_t, decltype(&std::free)> reply(
      xcb_intern_atom_reply(connection, asked, nullptr), std::free);
  return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

/// Messages to the window manager of X11.
class RootWindow {
 public:
  explicit RootWindow(xcb_connection_t* connection)
      : connection_(connection),
        root_(xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root) {}
  ~RootWindow() { xcb_flush(connection_); }
  RootWindow(const RootWindow&) = delete;
  RootWindow& operator=(const RootWindow&) = delete;

  /// Asks the window manager, with the source of the request and its time.
  void activate(xcb_window_t window, std::uint32_t time) const {
    constexpr std::uint32_t kOnBehalfOfTheUser = 2;
    auto event = message(window, "_NET_ACTIVE_WINDOW", 32);
    event.data.data32[0] = kOnBehalfOfTheUser;
    event.data.data32[1] = time;
    send(event, XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY);
  }

  /// Broadcasts the end of the start, 20 bytes a message.
  void endStartup(xcb_window_t window, QByteArray id) const {
    id.replace('\\', "\\\\").replace('"', "\\\"");
    const QByteArray text = "remove: ID=\"" + id + '"';
    for (qsizetype at = 0; at <= text.size(); at += 20) {  // its final zero goes along
      auto event = message(window, at == 0 ? "_NET_STARTUP_INFO_BEGIN" : "_NET_STARTUP_INFO", 8);
      std::memcpy(event.data.data8, text.constData() + at,
                  static_cast<std::size_t>(std::min<qsizetype>(20, text.size() + 1 - at)));
      send(event, XCB_EVENT_MASK_PROPERTY_CHANGE);
    }
  }

 private:
  xcb_client_message_event_t message(xcb_window_t window, std::string_view type,
                                     std::uint8_t format) const {
    xcb_client_message_event_t event{};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = format;
    event.window = window;
    event.type = atom(connection_, type);
    return event;
  }
  void send(const xcb_client_message_event_t& event, std::uint32_t mask) const {
    xcb_send_event(connection_, 0, root_, mask, reinterpret_cast<const char*>(&event));
  }

  xcb_connection_t* connection_;
  xcb_window_t root_;
};

}  // namespace

void bringToFront(QWindow& window, const QString& token) {
  if (auto* const connection = x11Connection()) {
    const RootWindow root(connection);
    const auto id = static_cast<xcb_window_t>(window.winId());
    root.activate(id, token.section(QStringLiteral("_TIME"), 1).toUInt());
    if (!token.isEmpty()) root.endStartup(id, token.toUtf8());
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
  const std::unique_ptr<xcb_get_selection_owner_reply_t, decltype(&std::free)> reply(
      xcb_get_selection_owner_reply(connection, asked, nullptr), std::free);
  return reply && reply->owner != XCB_WINDOW_NONE;
}

void askForDarkTitleBar(QWindow& window) {
#if QT_VERSION >= QT_VERSION_CHECK(6, 8, 0)
  QGuiApplication::styleHints()->setColorScheme(Qt::ColorScheme::Dark);
#endif
  auto* const connection = x11Connection();
  if (!connection) return;
  // What GTK's programs ask for, and window managers know.
  constexpr std::string_view kDark = "dark";
  xcb_change_property(connection, XCB_PROP_MODE_REPLACE, static_cast<xcb_window_t>(window.winId()),
                      atom(connection, "_GTK_THEME_VARIANT"), atom(connection, "UTF8_STRING"), 8,
                      kDark.size(), kDark.data());
}

}  // namespace quorin::desktop
