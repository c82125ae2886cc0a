#pragma once

#include "measure/stamped_socket.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace quorin::test {

/// A phone's app, which takes nothing from another address than the one it asked. Does something
/// only in `turn`.
class Phone {
 public:
  static constexpr std::uint16_t kServerPort = 9000;

  /// `own`: which of its addresses it speaks from.
  explicit Phone(const std::string& server, const std::string& own = "0.0.0.0");

  void says(std::string_view text) { socket_.send(text); }
  void turn();
  /// How many chunks came in `duration` from the first one on.
  std::size_t heardWithin(std::chrono::seconds duration) const;
  /// How loud a tone is in the newest chunks; 0 while there are fewer.
  double level(double hertz, std::size_t chunks) const;

  std::vector<std::string> messages;               ///< what the server wrote
  std::vector<std::chrono::nanoseconds> arrivals;  ///< when the kernel received each chunk
  std::vector<float> sound;                        ///< all of it, in the whole of this phone's life

 private:
  measure::StampedSocket socket_;
};

/// Runs the main queue and the phones in turns.
class TurnLoop {
 public:
  static constexpr std::chrono::seconds kTimeout{15};

  /// Until the condition holds; false when it does not in time.
  bool until(const std::function<bool()>& condition, std::chrono::milliseconds limit = kTimeout);
  void runFor(std::chrono::milliseconds duration);

  std::function<void()> onTurn = [] {};
  std::vector<std::unique_ptr<Phone>> phones;
};

}  // namespace quorin::test
