#include "wifi/client_table.h"

#include <algorithm>

namespace quorin::wifi {

using dispatch::WallTime;
using wire::ClientKey;

ClientTable::HelloResult ClientTable::hello(ClientKey key, WallTime now) {
  const auto before = clientCount_;
  const bool known = isRegistered(key);
  if (!known && before >= kMaxClients) return HelloResult::kBusy;

  udpClientLastSeen_[key] = now;
  if (known) return HelloResult::kKnownClient;
  udpClients_[clientCount_++] = key;
  return before == 0 ? HelloResult::kFirstClient : HelloResult::kNewClient;
}

void ClientTable::ping(ClientKey key, WallTime now) {
  const auto merelySeen = udpClientLastSeen_.size() - clientCount_;
  if (merelySeen < kMaxMerelySeen) {
    udpClientLastSeen_[key] = now;
  } else if (const auto entry = udpClientLastSeen_.find(key); entry != udpClientLastSeen_.end()) {
    entry->second = now;
  }
}

bool ClientTable::stop(ClientKey key) {
  udpClientLastSeen_.erase(key);
  return unregister(key);
}

ClientTable::Expired ClientTable::expire(WallTime now) {
  Expired expired;
  std::erase_if(udpClientLastSeen_, [&](const auto& entry) {
    const auto& [key, lastSeen] = entry;
    if (now - lastSeen <= kMaxSilence) return false;
    ++expired.keys;
    if (unregister(key)) ++expired.clients;
    return true;
  });
  return expired;
}

void ClientTable::clear() {
  udpClientLastSeen_.clear();
  clientCount_ = 0;
}

bool ClientTable::isRegistered(ClientKey key) const {
  return std::ranges::find(clients(), key) != clients().end();
}

bool ClientTable::unregister(ClientKey key) {
  const auto registered = std::span(udpClients_).first(clientCount_);
  const auto entry = std::ranges::find(registered, key);
  if (entry == registered.end()) return false;
  *entry = registered.back();
  --clientCount_;
  return true;
}

}  // namespace quorin::wifi
