#include "wifi/client_table.h"

#include <algorithm>

namespace quorin::wifi {

using dispatch::BootTime;
using wire::Endpoint;

ClientTable::HelloResult ClientTable::hello(Endpoint key, std::uint32_t local, BootTime now) {
  const auto known = std::ranges::find(udpClients_, key, &Client::endpoint);
  if (known == udpClients_.end() && isFull()) return HelloResult::kBusy;

  udpClientLastSeen_[key] = now;
  if (known != udpClients_.end()) {
    known->local = local;
    return HelloResult::kKnownClient;
  }
  udpClients_.push_back({.endpoint = key, .local = local, .since = now});
  return udpClients_.size() == 1 ? HelloResult::kFirstClient : HelloResult::kNewClient;
}

void ClientTable::ping(Endpoint key, BootTime now) {
  const auto unregistered = udpClientLastSeen_.size() - udpClients_.size();
  if (unregistered < kMaxUnregistered) {
    udpClientLastSeen_[key] = now;
  } else if (const auto entry = udpClientLastSeen_.find(key); entry != udpClientLastSeen_.end()) {
    entry->second = now;
  }
}

bool ClientTable::stop(Endpoint key) {
  udpClientLastSeen_.erase(key);
  return std::erase_if(udpClients_, [&](const Client& client) { return client.endpoint == key; }) >
         0;
}

std::size_t ClientTable::expire(BootTime now) {
  std::erase_if(udpClientLastSeen_,
                [&](const auto& entry) { return now - entry.second > kMaxSilence; });
  return std::erase_if(udpClients_, [&](const Client& client) {
    return !udpClientLastSeen_.contains(client.endpoint);
  });
}

void ClientTable::clear() {
  udpClientLastSeen_.clear();
  udpClients_.clear();
}

bool ClientTable::isRegistered(Endpoint key) const {
  return std::ranges::find(udpClients_, key, &Client::endpoint) != udpClients_.end();
}

}  // namespace quorin::wifi
