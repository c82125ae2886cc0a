#include "wifi/client_table.h"

#include <algorithm>

namespace quorin::wifi {

using dispatch::BootTime;
using wire::Endpoint;

ClientTable::HelloResult ClientTable::hello(Endpoint key, std::uint32_t local, BootTime now) {
  const auto known = std::ranges::find(udpClients_, key, &Client::endpoint);
  if (known != udpClients_.end()) {
    known->local = local;
    known->lastSeen = now;
    return HelloResult::kKnownClient;
  }
  if (isFull()) return HelloResult::kBusy;
  udpClients_.push_back({.endpoint = key, .local = local, .since = now, .lastSeen = now});
  return udpClients_.size() == 1 ? HelloResult::kFirstClient : HelloResult::kNewClient;
}

void ClientTable::ping(Endpoint key, BootTime now) {
  const auto known = std::ranges::find(udpClients_, key, &Client::endpoint);
  if (known != udpClients_.end()) known->lastSeen = now;
}

bool ClientTable::stop(Endpoint key) {
  return std::erase_if(udpClients_, [&](const Client& client) { return client.endpoint == key; }) >
         0;
}

std::size_t ClientTable::expire(BootTime now) {
  return std::erase_if(udpClients_,
                       [&](const Client& client) { return now - client.lastSeen > kMaxSilence; });
}

bool ClientTable::isRegistered(Endpoint key) const {
  return std::ranges::find(udpClients_, key, &Client::endpoint) != udpClients_.end();
}

}  // namespace quorin::wifi
