#include "wifi/network_watch.h"

#include <algorithm>
#include <cassert>
#include <utility>

namespace quorin::wifi {

NetworkWatch::NetworkWatch(dispatch::Scheduler& scheduler, Lookup lookUp, Reports reports)
    : scheduler_(scheduler), lookUp_(std::move(lookUp)), reports_(std::move(reports)) {}

void NetworkWatch::startIPWatch() {
  assert(scheduler_.mainQueue().isCurrent());
  if (ipWatchTimer_) return;
  ipWatchTimer_ = scheduler_.utilityQueue().makeTimer(
      {.first = kInterval, .interval = kInterval, .leeway = kLeeway},
      [&main = scheduler_.mainQueue(), lookUp = lookUp_,
       check = whileWatching_.bind([this](LocalNetworks networks) {
         checkLocalAddress(std::move(networks));
       })] { main.async([check, networks = lookUp()]() mutable { check(std::move(networks)); }); });
  inUse_.reset();
  take(lookUp_());
}

void NetworkWatch::stopIPWatch() {
  assert(scheduler_.mainQueue().isCurrent());
  qrRegenerateTimer_.reset();
  ipWatchTimer_.reset();
  whileWatching_.cancelAll();
}

void NetworkWatch::choose(std::string address) {
  wanted_ = std::move(address);
  choiceIsPending_ = true;
  applyChoice();
}

void NetworkWatch::applyChoice() {
  const auto isWanted = [this](const Candidate& c) { return c.address == wanted_; };
  if (!choiceIsPending_ || std::ranges::none_of(networks_.candidates, isWanted)) return;
  choiceIsPending_ = false;
  if (lastIPAddress_) lastIPAddress_ = inUse_ = wanted_;
}

std::optional<AddressStatus> NetworkWatch::take(LocalNetworks networks) {
  const bool differs = networks != networks_;
  networks_ = std::move(networks);
  applyChoice();
  const auto before = lastIPAddress_;
  lastIPAddress_ = localIPv4Address(networks_.candidates, inUse_, wanted_);
  if (lastIPAddress_) inUse_ = lastIPAddress_;
  if (differs) reports_.networksChanged();
  if (!lastIPAddress_) return AddressStatus::kLost;
  if (!before) return AddressStatus::kBack;
  return before == lastIPAddress_ ? std::nullopt : std::optional(AddressStatus::kChanged);
}

void NetworkWatch::checkLocalAddress(LocalNetworks networks) {
  report(take(std::move(networks)));
}

void NetworkWatch::report(std::optional<AddressStatus> status) {
  if (!status) return;
  qrRegenerateTimer_.reset();
  if (*status != AddressStatus::kLost) {
    qrRegenerateTimer_ = scheduler_.mainQueue().makeTimer(
        {.first = *status == AddressStatus::kBack ? kSettlingAfterReturn : kSettlingAfterChange,
         .leeway = kLeeway},
        [this] { finishNetworkChange(); });
  }
  reports_.addressChanged(*status);
}

// If this check differs from the last one, it is a new change.
void NetworkWatch::finishNetworkChange() {
  const auto firedTimer = std::move(qrRegenerateTimer_);  // this is its handler
  const auto status = take(lookUp_());
  status ? report(status) : reports_.addressChanged(AddressStatus::kSettled);
}

}  // namespace quorin::wifi
