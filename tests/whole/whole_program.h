#pragma once

#include "app/pt_app_delegate.h"
#include "platform/dispatch/system_scheduler.h"
#include "support/udp_peer.h"
#include "ui/texts.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

/// The program as `main` puts it together, in the test's own process: real threads, sockets,
/// widgets and audio server, so that a test sees its views and its descriptors.
namespace quorin::whole {

/// A phone's app on this machine. Does something only in `turn`.
class Phone {
 public:
  /// `address`: the server's.
  explicit Phone(const std::string& address);

  void says(std::string_view datagram) { peer_.says(datagram); }
  void turn();
  /// How loud a tone is in the newest chunks; 0 while there are fewer.
  double level(double hertz, std::size_t chunks) const;

  std::vector<std::string> messages;  ///< what the server wrote
  std::vector<float> sound;           ///< what it played, in the whole of this phone's life
  std::size_t chunks = 0;

 private:
  test::UdpPeer peer_;
};

class WholeProgram {
 public:
  static constexpr std::uint16_t kPort = 9000;
  static constexpr std::chrono::seconds kTimeout{15};

  /// Starts it; it enters `mode` as soon as the guard lets it.
  explicit WholeProgram(app::StartMode mode);

  /// Lets the program and the phones run until the condition holds; false when it does not in
  /// time.
  bool until(const std::function<bool()>& condition, std::chrono::milliseconds limit = kTimeout);
  void runFor(std::chrono::milliseconds duration);
  /// Until the view is visible.
  bool becomes(const char* view, std::chrono::milliseconds limit = kTimeout) {
    return until([&] { return shows(view); }, limit);
  }

  /// Called again and again in `until`.
  std::function<void()> onTurn = [] {};

  /// The phones that take part in `until`.
  std::vector<std::unique_ptr<Phone>> phones;
  Phone& newPhone(const std::string& address);

  bool shows(const char* name) const;
  std::string text(const char* label) const;
  std::string accessibleName(const char* name) const;
  void click(const char* button) const;

  /// What ZBar reads from a picture of the window.
  std::vector<std::string> codes();

 private:
  QWidget& view(const char* name) const;

  app::Texts texts_{{"en"}};
  std::unique_ptr<dispatch::Scheduler> scheduler_ = dispatch::makeSystemScheduler();
  std::unique_ptr<app::PTAppDelegate> delegate_;
};

/// What this process holds: a number that grows is a leak.
struct Holdings {
  std::size_t descriptors = 0;
  std::size_t threads = 0;
  std::size_t udpSockets = 0;  ///< on the program's port

  friend bool operator==(const Holdings&, const Holdings&) = default;
};
Holdings holdings();
void PrintTo(const Holdings& held, std::ostream* stream);

/// Moves the test into a network of its own with one wired interface; ends the program with a
/// message where the system does not allow that. First thing in `main`.
void enterNetworkOrSkip();
/// `ip ARGUMENTS`, in words; true when it did that.
bool ip(const std::string& arguments);

}  // namespace quorin::whole
