#pragma once

#include "core/scheduler.h"
#include "wifi/local_address.h"

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace quorin::wifi {

/// How the local address stands since the last report.
enum class AddressStatus {
  kSettled,  ///< stable since a change: time to drop the clients and redraw the code
  kLost,  ///< there is none; reported at each check, so that a page opened meanwhile shows it too
  kBack,  ///< `kSettled` follows after `NetworkWatch::kSettlingAfterReturn`
  kChanged,  ///< `kSettled` follows after `NetworkWatch::kSettlingAfterChange`
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

  /// On the main queue, with `address` and `networks` up to date.
  struct Reports {
    /// Candidates or subnets changed. Also runs inside `startIPWatch`; at later checks, before
    /// `addressChanged`. Must not start or stop the watch.
    std::function<void()> networksChanged;
    /// May stop the watch.
    std::function<void(AddressStatus)> addressChanged;
  };

  /// The scheduler must outlive the watch.
  NetworkWatch(dispatch::Scheduler& scheduler, Lookup lookUp, Reports reports);

  /// Checks at once, so that `address` is current, then every second. Does nothing while watching.
  void startIPWatch();
  /// Also cancels a pending `kSettled`.
  void stopIPWatch();

  /// Switches to `address`, now or once it is a candidate, and prefers it from then on.
  /// `addressChanged` is not called, since the server listens on all addresses.
  void choose(std::string address);

  /// From the last check; none before the first, and without candidates. The page shows this value,
  /// so that it always agrees with the watch.
  const std::optional<std::string>& address() const { return lastIPAddress_; }
  const LocalNetworks& networks() const { return networks_; }

 private:
  std::optional<AddressStatus> take(LocalNetworks networks);
  void applyChoice();
  void checkLocalAddress(LocalNetworks networks);
  void report(std::optional<AddressStatus> status);
  void finishNetworkChange();

  dispatch::Scheduler& scheduler_;
  Lookup lookUp_;
  Reports reports_;

  LocalNetworks networks_;
  std::optional<std::string> lastIPAddress_;
  std::optional<std::string> inUse_;   ///< the last address since the start
  std::optional<std::string> wanted_;  ///< the user's choice
  bool choiceIsPending_ = false;       ///< it was not a candidate yet

  dispatch::Scope whileWatching_;
  std::unique_ptr<dispatch::Timer> ipWatchTimer_;
  std::unique_ptr<dispatch::Timer> qrRegenerateTimer_;
};

}  // namespace quorin::wifi
