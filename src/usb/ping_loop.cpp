#include "usb/ping_loop.h"

#include "core/log.h"
#include "usb/cable_frames.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <utility>

namespace quorin::usb {
namespace {

double milliseconds(dispatch::Duration duration) {
  return std::chrono::duration<double, std::milli>(duration).count();
}

}  // namespace

PingLoop::PingLoop(dispatch::Scheduler& scheduler, const CableLink& link)
    : scheduler_(scheduler), link_(link) {}

void PingLoop::ping() {
  const auto channel = link_.connectedChannel();
  if (!channel) {
    pingAgainLater();
    return;
  }
  const auto tag = channel->newTag();
  if (pings_.size() == kMaxUnanswered) pings_.erase(pings_.begin());
  pings_.push_back({.tag = tag, .dateCreated = scheduler_.now()});
  channel->sendFrameOfType(
      std::to_underlying(CableFrame::kPing), tag, {},
      scope_.bind([this, tag](std::error_code error) { pingWritten(tag, error); }));
}

void PingLoop::pingAgainLater() {
  scheduler_.mainQueue().asyncAfter(kInterval, scope_, [this] { ping(); });
}

void PingLoop::pingWritten(std::uint32_t tag, std::error_code error) {
  pingAgainLater();
  const auto entry = find(tag);
  if (entry == pings_.end()) return;
  entry->dateSent = scheduler_.now();
  if (error) pings_.erase(entry);
}

void PingLoop::pongWithTag(std::uint32_t tag, std::error_code) {
  const auto entry = find(tag);
  if (entry == pings_.end()) return;
  entry->dateEnded = scheduler_.now();
  const auto answered = *entry;
  pings_.erase(entry);

  std::array<char, 80> line{};
  std::snprintf(line.data(), line.size(), "Ping total roundtrip time: %.3f ms",
                milliseconds(*answered.dateEnded - answered.dateCreated));
  log::note("cable", line.data());
}

std::vector<PingLoop::Ping>::iterator PingLoop::find(std::uint32_t tag) {
  return std::ranges::find(pings_, tag, &Ping::tag);
}

}  // namespace quorin::usb
