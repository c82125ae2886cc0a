#pragma once

#include "app/pt_app_delegate.h"
#include "platform/dispatch/system_scheduler.h"
#include "support/own_network.h"
#include "support/phone.h"
#include "ui/texts.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

/// The program as `main` puts it together, in the test's own process: real threads, sockets,
/// widgets and audio server, so that a test sees its views and its descriptors.
namespace quorin::whole {

using test::ip;
using test::Phone;

class WholeProgram : public test::TurnLoop {
 public:
  /// Starts it; it enters `mode` as soon as the guard lets it.
  explicit WholeProgram(app::StartMode mode);

  /// Until the view is visible.
  bool becomes(const char* view, std::chrono::milliseconds limit = kTimeout) {
    return until([&] { return shows(view); }, limit);
  }

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
  std::size_t udpSockets = 0;     ///< the server's, on the program's port
  std::size_t clientSockets = 0;  ///< the server's, one for each client
};
Holdings holdings();

/// Moves the test into a network of its own with one wired interface; ends the program with a
/// message where the system does not allow that. First thing in `main`.
void enterNetworkOrSkip();

}  // namespace quorin::whole
