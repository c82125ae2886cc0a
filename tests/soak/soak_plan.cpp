#include "soak/soak_plan.h"

namespace quorin::soak {
namespace {

int between(std::mt19937& random, int lowest, int highest) {
  return std::uniform_int_distribution(lowest, highest)(random);
}

}  // namespace

const char* nameOf(Happening happening) {
  switch (happening) {
    case Happening::kRubbish:
      return "rubbish";
    case Happening::kFlood:
      return "flood";
    case Happening::kAddressChange:
      return "address changed";
    case Happening::kNetworkLoss:
      return "network lost and back";
    case Happening::kOtherRightDevice:
      return "another right device";
    case Happening::kWrongDevice:
      return "wrong device and back";
    case Happening::kAudioServerRestart:
      return "audio server restarted";
    case Happening::kUsbServiceRestart:
      return "USB service restarted";
    case Happening::kPhonePlugged:
      return "phone plugged in and out";
  }
  return "";
}

WorldPlan::Entry WorldPlan::next() {
  // The gentle ones more often: what is rough ends every stream.
  constexpr Happening kDeck[] = {
      Happening::kRubbish,
      Happening::kRubbish,
      Happening::kFlood,
      Happening::kFlood,
      Happening::kAddressChange,
      Happening::kNetworkLoss,
      Happening::kOtherRightDevice,
      Happening::kOtherRightDevice,
      Happening::kWrongDevice,
      Happening::kAudioServerRestart,
      Happening::kUsbServiceRestart,
      Happening::kPhonePlugged,
      Happening::kPhonePlugged,
  };
  const auto after = std::chrono::milliseconds(between(random_, 12'000, 40'000));
  return {.after = after, .what = kDeck[between(random_, 0, std::size(kDeck) - 1)]};
}

std::chrono::milliseconds ClientPlan::absence() {
  return std::chrono::milliseconds(between(random_, 500, 8'000));
}

std::chrono::milliseconds ClientPlan::stay() {
  return std::chrono::milliseconds(between(random_, 5'000, 120'000));
}

bool ClientPlan::leavesInSilence() {
  return between(random_, 0, 2) == 0;
}

}  // namespace quorin::soak
