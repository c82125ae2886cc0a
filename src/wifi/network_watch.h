#pragma once

#include "core/scheduler.h"

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace quorin::wifi {

/// How the address of one look relates to that of the look before.
enum class AddressChange { kNone, kLost, kBack, kChanged };

/// A missing address is a loss at every look, also when it was missing before: whoever shows the
/// page in between is told again.
AddressChange compareAddresses(const std::optional<std::string>& before,
                               const std::optional<std::string>& now);

/// Told on the main queue. Each call may start, stop or destroy the watch.
class NetworkWatchListener {
 public:
  virtual ~NetworkWatchListener() = default;

  /// No usable address; once a second while that lasts.
  virtual void onAddressLost() = 0;
  /// `onNetworkChangeSettled` follows after `kSettlingAfterReturn`.
  virtual void onAddressBack(const std::string& address) = 0;
  /// `onNetworkChangeSettled` follows after `kSettlingAfterChange`.
  virtual void onAddressChanged(const std::string& address) = 0;
  /// Time to bind and to draw the code once more, with the address looked up at this moment.
  virtual void onNetworkChangeSettled(const std::optional<std::string>& address) = 0;
};

/// Follows the computer's local address once a second while the Wi-Fi page is in use.
///
/// Main queue only, and all of its state lives there: the utility queue does nothing but look the
/// address up. After `stopIPWatch` (or destruction) nothing more is reported, not even what a look
/// that was under way finds.
class NetworkWatch {
 public:
  static constexpr std::chrono::seconds kInterval{1};
  static constexpr std::chrono::milliseconds kLeeway{200};
  static constexpr std::chrono::seconds kSettlingAfterReturn{1};
  static constexpr std::chrono::seconds kSettlingAfterChange{2};

  /// Called on the main queue and on the utility queue, possibly at the same time.
  using AddressLookup = std::function<std::optional<std::string>()>;

  /// The scheduler and the listener must outlive the watch.
  NetworkWatch(dispatch::Scheduler& scheduler, AddressLookup lookUp,
               NetworkWatchListener& listener);
  ~NetworkWatch();

  /// Looks the address up at once without reporting it, then every second. Does nothing while
  /// watching.
  void startIPWatch();
  /// Also ends a settling that is due.
  void stopIPWatch();

 private:
  struct Session;

  void checkLocalAddress(std::optional<std::string> address);
  void settleAfter(dispatch::Duration delay);
  void finishNetworkChange();

  dispatch::Scheduler& scheduler_;
  AddressLookup lookUp_;
  NetworkWatchListener& listener_;

  std::shared_ptr<Session> session_;          ///< from start to stop
  std::optional<std::string> lastIPAddress_;  ///< of the last look
  std::unique_ptr<dispatch::Timer> settlingTimer_;
};

}  // namespace quorin::wifi
