#pragma once

#include "core/scheduler.h"
#include "wifi/local_address.h"

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace quorin::wifi {

/// The result of comparing two consecutive checks.
enum class AddressChange { kNone, kLost, kBack, kChanged };

/// A missing address is reported as lost at every check, so that a page opened meanwhile shows it
/// too.
AddressChange compareAddresses(const std::optional<std::string>& before,
                               const std::optional<std::string>& now);

/// On the main queue. Each call may stop and start the watch, but not destroy it;
/// `onNetworksChanged` may do neither.
class NetworkWatchListener {
 public:
  virtual ~NetworkWatchListener() = default;

  /// Candidates or own networks changed since the last check. Also called within `startIPWatch`;
  /// later, before the reports about the address.
  virtual void onNetworksChanged(const LocalNetworks& networks) = 0;

  /// No usable address; once a second while that lasts.
  virtual void onAddressLost() = 0;
  /// `onNetworkChangeSettled` follows after `kSettlingAfterReturn`.
  virtual void onAddressBack(const std::string& address) = 0;
  /// `onNetworkChangeSettled` follows after `kSettlingAfterChange`.
  virtual void onAddressChanged(const std::string& address) = 0;
  /// The network is stable again: time to drop the clients and redraw the code. The address is
  /// still that of the change.
  virtual void onNetworkChangeSettled(const std::string& address) = 0;
};

/// Chooses the computer's local address, and follows it once a second while the Wi-Fi page is in
/// use. The address stays the same while it is a candidate, whatever else appears.
///
/// Main queue only; the utility queue only runs the lookup. After `stopIPWatch` nothing is
/// reported, not even the result of a running lookup.
class NetworkWatch {
 public:
  static constexpr std::chrono::seconds kInterval{1};
  static constexpr std::chrono::milliseconds kLeeway{200};
  static constexpr std::chrono::seconds kSettlingAfterReturn{1};
  static constexpr std::chrono::seconds kSettlingAfterChange{2};

  /// Called on the main queue and on the utility queue, possibly at the same time.
  using Lookup = std::function<LocalNetworks()>;

  /// The scheduler and the listener must outlive the watch.
  NetworkWatch(dispatch::Scheduler& scheduler, Lookup lookUp, NetworkWatchListener& listener);

  /// Checks at once, so that `address` is current, then every second. Does nothing while watching.
  void startIPWatch();
  /// Also cancels a pending `onNetworkChangeSettled`.
  void stopIPWatch();

  /// Changes to `address`, if it is a candidate, and prefers it whenever an address has to be
  /// chosen; none: no preference. `address()` follows at once, without a report: the server is
  /// bound to all addresses.
  void choose(std::optional<std::string> address);

  /// From the last check; none before the first, and without candidates. The page shows this value,
  /// so that it always agrees with the watch.
  const std::optional<std::string>& address() const { return lastIPAddress_; }
  const LocalNetworks& networks() const { return networks_; }

 private:
  AddressChange take(LocalNetworks look);
  void checkLocalAddress(LocalNetworks look);
  void report(AddressChange change);
  void settleAfter(dispatch::Duration delay);
  void finishNetworkChange();

  dispatch::Scheduler& scheduler_;
  Lookup lookUp_;
  NetworkWatchListener& listener_;

  LocalNetworks networks_;
  std::optional<std::string> lastIPAddress_;
  std::optional<std::string> inUse_;   ///< the last address since the start
  std::optional<std::string> wanted_;  ///< the user's choice

  dispatch::Scope whileWatching_;
  std::unique_ptr<dispatch::Timer> ipWatchTimer_;
  std::unique_ptr<dispatch::Timer> qrRegenerateTimer_;
};

}  // namespace quorin::wifi
