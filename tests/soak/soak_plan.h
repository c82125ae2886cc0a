#pragma once

#include <chrono>
#include <cstdint>
#include <random>

namespace quorin::soak {

/// What happens to the program's world, one thing after the other, at random but by the seed the
/// same each time. Pure.
enum class Happening : std::uint8_t {
  kRubbish,
  kFlood,
  kAddressChange,
  kNetworkLoss,
  kOtherRightDevice,
  kWrongDevice,
  kAudioServerRestart,
  kUsbServiceRestart,
  kPhonePlugged,
};
const char* nameOf(Happening happening);

class WorldPlan {
 public:
  explicit WorldPlan(unsigned seed) : random_(seed) {}

  struct Entry {
    std::chrono::milliseconds after;  ///< the end of what happened before
    Happening what;
  };
  Entry next();

 private:
  std::mt19937 random_;
};

/// How long a client stays and stays away, and how it goes. Pure.
class ClientPlan {
 public:
  explicit ClientPlan(unsigned seed) : random_(seed) {}

  std::chrono::milliseconds absence();
  std::chrono::milliseconds stay();
  bool leavesInSilence();

 private:
  std::mt19937 random_;
};

}  // namespace quorin::soak
