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

NetworkWatch::NetworkWatch(dispatch::Scheduler& scheduler, Lookup lookUp,
                           NetworkWatchListener& listener)
    : scheduler_(scheduler), lookUp_(std::move(lookUp)), listener_(listener) {}

void NetworkWatch::startIPWatch() {
  assert(scheduler_.mainQueue().isCurrent());
  if (ipWatchTimer_) return;
  ipWatchTimer_ = scheduler_.utilityQueue().makeTimer(
      {.first = kInterval, .interval = kInterval, .leeway = kLeeway},
      [&main = scheduler_.mainQueue(), lookUp = lookUp_,
       check = whileWatching_.bind([this](LocalNetworks look) {
         checkLocalAddress(std::move(look));
       })] { main.async([check, look = lookUp()]() mutable { check(std::move(look)); }); });
  inUse_.reset();
  take(lookUp_());
}

void NetworkWatch::stopIPWatch() {
  assert(scheduler_.mainQueue().isCurrent());
  qrRegenerateTimer_.reset();
  ipWatchTimer_.reset();
  whileWatching_.cancelAll();
}

void NetworkWatch::choose(std::optional<std::string> address) {
  wanted_ = std::move(address);
  if (lastIPAddress_) {
    lastIPAddress_ = inUse_ =
        localIPv4Address(networks_.candidates, wanted_ ? wanted_ : inUse_, inUse_);
  }
}

AddressChange NetworkWatch::take(LocalNetworks look) {
  const auto before = lastIPAddress_;
  lastIPAddress_ = localIPv4Address(look.candidates, inUse_, wanted_);
  if (lastIPAddress_) inUse_ = lastIPAddress_;
  const auto change = compareAddresses(before, lastIPAddress_);
  if (look != networks_) {
    networks_ = std::move(look);
    listener_.onNetworksChanged(networks_);
  }
  return change;
}

void NetworkWatch::checkLocalAddress(LocalNetworks look) {
  report(take(std::move(look)));
}

void NetworkWatch::report(AddressChange change) {
  switch (change) {
    case AddressChange::kNone:
      return;
    case AddressChange::kLost:
      qrRegenerateTimer_.reset();
      return listener_.onAddressLost();
    case AddressChange::kBack:
      settleAfter(kSettlingAfterReturn);
      return listener_.onAddressBack(*lastIPAddress_);
    case AddressChange::kChanged:
      settleAfter(kSettlingAfterChange);
      return listener_.onAddressChanged(*lastIPAddress_);
  }
}

void NetworkWatch::settleAfter(dispatch::Duration delay) {
  qrRegenerateTimer_ = scheduler_.mainQueue().makeTimer({.first = delay, .leeway = kLeeway},
                                                        [this] { finishNetworkChange(); });
}

// If this check differs from the last one, it is a new change.
void NetworkWatch::finishNetworkChange() {
  const auto firedTimer = std::move(qrRegenerateTimer_);  // this is its handler
  const auto change = take(lookUp_());
  if (change == AddressChange::kNone) return listener_.onNetworkChangeSettled(*lastIPAddress_);
  report(change);
}

}  // namespace quorin::wifi
