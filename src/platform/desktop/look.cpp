#include "platform/desktop/look.h"

#include <xcb/xcb.h>

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>
#include <QGuiApplication>
#include <QMap>
#include <QStyleHints>
#include <QVariantMap>
#include <cstdlib>
#include <memory>
#include <string_view>
#include <utility>

namespace quorin::desktop {
namespace {

const auto kService = QStringLiteral("org.freedesktop.portal.Desktop");
const auto kPath = QStringLiteral("/org/freedesktop/portal/desktop");
const auto kInterface = QStringLiteral("org.freedesktop.portal.Settings");

using Spaces = QMap<QString, QVariantMap>;

bool isX11() {
  return QGuiApplication::platformName() == "xcb";
}

xcb_atom_t atom(xcb_connection_t* connection, std::string_view name) {
  const auto asked =
      xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.data());
  const std::unique_ptr<xcb_intern_atom_reply_t, decltype(&std::free)> reply(
      xcb_intern_atom_reply(connection, asked, nullptr), std::free);
  return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

class LookWatch : public QObject {
  Q_OBJECT
 public:
  explicit LookWatch(std::function<void(const Look&)> changed) : changed_(std::move(changed)) {
    auto bus = QDBusConnection::sessionBus();
    bus.connect(kService, kPath, kInterface, QStringLiteral("SettingChanged"), this,
                SLOT(onSettingChanged(QString, QString, QDBusVariant)));
    auto ask =
        QDBusMessage::createMethodCall(kService, kPath, kInterface, QStringLiteral("ReadAll"));
    ask << QStringList{"org.freedesktop.appearance", "org.gnome.desktop.interface",
                       "org.gnome.desktop.a11y.interface"};
    auto* const asking = new QDBusPendingCallWatcher(bus.asyncCall(ask), this);
    connect(asking, &QDBusPendingCallWatcher::finished, this, [this, asking] {
      asking->deleteLater();
      const auto reply = asking->reply();
      if (reply.type() != QDBusMessage::ReplyMessage) return;
      const auto spaces = qdbus_cast<Spaces>(reply.arguments().value(0));
      for (const auto& settings : spaces) {
        for (auto it = settings.begin(); it != settings.end(); ++it) take(it.key(), it.value());
      }
      changed_(look_);
    });
  }

 private slots:
  void onSettingChanged(const QString& /*space*/, const QString& key, const QDBusVariant& value) {
    take(key, value.variant());
    changed_(look_);
  }

 private:
  void take(const QString& key, const QVariant& value) {
    // On X11 the display factor contains it already.
    if (key == "text-scaling-factor" && !isX11()) look_.textScale = value.toDouble();
    if (key == "contrast") look_.highContrast = value.toUInt() == 1;
    if (key == "high-contrast") look_.highContrast = value.toBool();
  }

  std::function<void(const Look&)> changed_;
  Look look_;
};

}  // namespace

std::unique_ptr<QObject> watchLook(std::function<void(const Look&)> changed) {
  return std::make_unique<LookWatch>(std::move(changed));
}

void askForDarkTitleBar(WId window) {
#if QT_VERSION >= QT_VERSION_CHECK(6, 8, 0)
  QGuiApplication::styleHints()->setColorScheme(Qt::ColorScheme::Dark);
#endif
  if (!isX11()) return;
  // What GTK's programs ask for, and window managers know.
  auto* const connection =
      qGuiApp->nativeInterface<QNativeInterface::QX11Application>()->connection();
  constexpr std::string_view kDark = "dark";
  xcb_change_property(connection, XCB_PROP_MODE_REPLACE, static_cast<xcb_window_t>(window),
                      atom(connection, "_GTK_THEME_VARIANT"), atom(connection, "UTF8_STRING"), 8,
                      kDark.size(), kDark.data());
}

}  // namespace quorin::desktop

#include "look.moc"
