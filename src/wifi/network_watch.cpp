#include "wifi/network_watch.h"

#include <cassert>
#include <utility>

namespace quorin::wifi {

AddressChange compareAddresses(const std::optional<std::string>& before,
                               const std::optional<std::string>& now) {
  if (!now) return AddressChange::kLost;
  if (!before) return AddressChange::kBack;
  return *now == *before ? AddressChange::kNone : AddressChange::kChanged;
}

/// One start of the watch. Results of looks find their way through a weak reference to it, so that
/// those of an ended watch get lost.
struct NetworkWatch::Session {
  NetworkWatch& watch;
  std::unique_ptr<dispatch::Timer> timer;
};

NetworkWatch::NetworkWatch(dispatch::Scheduler& scheduler, AddressLookup lookUp,
                           NetworkWatchListener& listener)
    : scheduler_(scheduler), lookUp_(std::move(lookUp)), listener_(listener) {}

NetworkWatch::~NetworkWatch() = default;

void NetworkWatch::startIPWatch() {
  assert(scheduler_.mainQueue().isCurrent());
  if (session_) return;
  lastIPAddress_ = lookUp_();
  session_ = std::make_shared<Session>(*this);
  session_->timer = scheduler_.utilityQueue().makeTimer(
      {.first = kInterval, .interval = kInterval, .leeway = kLeeway},
      [&main = scheduler_.mainQueue(), lookUp = lookUp_, weak = std::weak_ptr(session_)] {
        main.async([weak, address = lookUp()]() mutable {
          if (const auto session = weak.lock()) {
            session->watch.checkLocalAddress(std::move(address));
          }
        });
      });
}

void NetworkWatch::stopIPWatch() {
  assert(scheduler_.mainQueue().isCurrent());
  settlingTimer_.reset();
  session_.reset();
}

// The listener may end the watch, hence nothing is touched after it has been told.
void NetworkWatch::checkLocalAddress(std::optional<std::string> address) {
  const auto change = compareAddresses(lastIPAddress_, address);
  lastIPAddress_ = address;
  switch (change) {
    case AddressChange::kNone:
      return;
    case AddressChange::kLost:
      settlingTimer_.reset();
      return listener_.onAddressLost();
    case AddressChange::kBack:
      settleAfter(kSettlingAfterReturn);
      return listener_.onAddressBack(*address);
    case AddressChange::kChanged:
      settleAfter(kSettlingAfterChange);
      return listener_.onAddressChanged(*address);
  }
}

void NetworkWatch::settleAfter(dispatch::Duration delay) {
  settlingTimer_ = scheduler_.mainQueue().makeTimer({.first = delay, .leeway = kLeeway},
                                                    [this] { finishNetworkChange(); });
}

void NetworkWatch::finishNetworkChange() {
  const auto spent = std::move(settlingTimer_);  // kept until its handler, this one, has returned
  listener_.onNetworkChangeSettled(lookUp_());
}

}  // namespace quorin::wifi
