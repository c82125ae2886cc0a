#pragma once

#include <array>
#include <optional>
#include <string_view>

namespace quorin::app {

enum class Lookup { kTr, kBundle };   ///< with the built-in texts behind the bundle, or without
/// A format takes one integer, for which it may have a plural; a pattern takes texts: %1, %2.
enum class Shape { kText, kFormat, kPattern };

struct RegisteredKey {
  const char* name;
  Lookup lookup = Lookup::kTr;
  Shape shape = Shape::kText;
};

/// Every key that the program looks up. The texts are in resources/translations; a key that is
/// added here needs one in every language there.
inline constexpr std::array kTextKeys = {
    RegisteredKey{"status.ready"},
    RegisteredKey{"back_button_title", Lookup::kBundle},
    RegisteredKey{"audio.verifying"},
    RegisteredKey{"audio.guard.title"},
    RegisteredKey{"audio.guard.text.both"},
    RegisteredKey{"audio.guard.text.out"},
    RegisteredKey{"audio.guard.text.in"},
    RegisteredKey{"audio.guard.text.no_server"},
    RegisteredKey{"audio.guard.button"},
    RegisteredKey{"audio.guard.setup"},
    RegisteredKey{"audio.guard.setup.working"},
    RegisteredKey{"audio.guard.setup.note"},
    RegisteredKey{"audio.guard.setup.no_server"},
    RegisteredKey{"audio.guard.setup.refused"},
    RegisteredKey{"audio.guard.setup.missing"},
    RegisteredKey{"audio.guard.setup.failed"},
    RegisteredKey{"audio.guard.status.out.ok"},
    RegisteredKey{"audio.guard.status.out.missing"},
    RegisteredKey{"audio.guard.status.in.ok"},
    RegisteredKey{"audio.guard.status.in.missing"},
    RegisteredKey{"mic.overlay.text"},
    RegisteredKey{"mic.overlay.button"},
    RegisteredKey{"menu.header"},
    RegisteredKey{"cards.online.title"},
    RegisteredKey{"cards.online.note"},
    RegisteredKey{"cards.offline.title"},
    RegisteredKey{"cards.offline.note"},
    RegisteredKey{"footer.privacy"},
    RegisteredKey{"footer.copyright"},
    RegisteredKey{"alert.privacy.title"},
    RegisteredKey{"alert.privacy.info"},
    RegisteredKey{"common.ok"},
    RegisteredKey{"alert.stop.title"},
    RegisteredKey{"alert.stop.info"},
    RegisteredKey{"alert.stop.confirm"},
    RegisteredKey{"common.cancel"},
    RegisteredKey{"notice.goes_on"},
    RegisteredKey{"notice.joined"},
    RegisteredKey{"notice.left"},
    RegisteredKey{"notice.stopped"},
    RegisteredKey{"notice.stopped.info"},
    RegisteredKey{"notice.not_started"},
    RegisteredKey{"notice.listeners", Lookup::kTr, Shape::kFormat},
    RegisteredKey{"notice.awake"},
    RegisteredKey{"tray.idle"},
    RegisteredKey{"tray.show"},
    RegisteredKey{"tray.stop"},
    RegisteredKey{"tray.quit"},
    RegisteredKey{"usb_instruction_title"},
    RegisteredKey{"waiting_connection", Lookup::kBundle},
    RegisteredKey{"usb.connected", Lookup::kBundle},
    RegisteredKey{"cable.service.missing"},
    RegisteredKey{"cable.service.stopped"},
    RegisteredKey{"cable.phone.none"},
    RegisteredKey{"cable.phone.locked"},
    RegisteredKey{"cable.app.closed"},
    RegisteredKey{"cable.app.silent"},
    RegisteredKey{"pairing_instructions", Lookup::kBundle},
    RegisteredKey{"status.connected.one"},
    RegisteredKey{"status.connected.many", Lookup::kTr, Shape::kFormat},
    RegisteredKey{"status.silent"},
    RegisteredKey{"status.silent.muted"},
    RegisteredKey{"status.silent.elsewhere", Lookup::kTr, Shape::kPattern},
    RegisteredKey{"status.silent.move"},
    RegisteredKey{"status.silent.unmute"},
    RegisteredKey{"play_here"},
    RegisteredKey{"sound_level"},
    RegisteredKey{"status.full"},
    RegisteredKey{"phone.listening", Lookup::kTr, Shape::kPattern},
    RegisteredKey{"phone.disconnect"},
    RegisteredKey{"address.name"},
    RegisteredKey{"address.copy"},
    RegisteredKey{"address.copy_it", Lookup::kTr, Shape::kPattern},
    RegisteredKey{"address.copied"},
    RegisteredKey{"address.network", Lookup::kTr, Shape::kPattern},
    RegisteredKey{"address.network.wifi", Lookup::kTr, Shape::kPattern},
    RegisteredKey{"address.network.wired", Lookup::kTr, Shape::kPattern},
    RegisteredKey{"network.unavailable", Lookup::kBundle},
    RegisteredKey{"network.available", Lookup::kBundle},
    RegisteredKey{"network.change_detected", Lookup::kBundle},
    RegisteredKey{"network.generating_qr_in_seconds", Lookup::kBundle, Shape::kFormat},
    RegisteredKey{"udp.port.invalid"},
    RegisteredKey{"udp.socket.create_failed"},
    RegisteredKey{"udp.port.bind_failed"},
    RegisteredKey{"port.in_use", Lookup::kTr, Shape::kPattern},
    RegisteredKey{"port.holder.other_session"},
    RegisteredKey{"port.holder.other_user", Lookup::kTr, Shape::kPattern},
    RegisteredKey{"port.holder.program", Lookup::kTr, Shape::kPattern},
    RegisteredKey{"port.holder.unknown"},
    RegisteredKey{"port.not_permitted", Lookup::kTr, Shape::kPattern},
    RegisteredKey{"port.not_permitted.advice"},
    RegisteredKey{"port.tries_again"},
    RegisteredKey{"port.try_again"},
    RegisteredKey{"port.use", Lookup::kTr, Shape::kPattern},
    RegisteredKey{"qr.input.invalid"},
    RegisteredKey{"qr.generate.failed"},
    RegisteredKey{"alert.settings.title"},
    RegisteredKey{"alert.settings.sound"},
    RegisteredKey{"alert.settings.microphone"},
};

constexpr bool isRegistered(std::string_view name, Lookup lookup, Shape shape) {
  for (const RegisteredKey& key : kTextKeys) {
    if (key.name == name) return key.lookup == lookup && key.shape == shape;
  }
  return false;
}

/// A key from the registry, for the way of lookup it is registered with. A literal that the
/// registry lacks does not compile.
template <Lookup lookup, Shape shape>
class TextKey {
 public:
  // NOLINTNEXTLINE(google-explicit-constructor): a key is written as its name
  consteval TextKey(const char* name) : name_(name) {
    if (!isRegistered(name, lookup, shape)) throw "not registered for this way of lookup";
  }

  /// For a key that is only known when the program runs; none when it is not registered.
  static constexpr std::optional<TextKey> find(std::string_view name) {
    for (const RegisteredKey& key : kTextKeys) {
      if (key.name == name && key.lookup == lookup && key.shape == shape) return TextKey(key);
    }
    return std::nullopt;
  }

  constexpr const char* name() const { return name_; }

 private:
  explicit constexpr TextKey(const RegisteredKey& key) : name_(key.name) {}

  const char* name_;
};

using TrKey = TextKey<Lookup::kTr, Shape::kText>;

}  // namespace quorin::app
