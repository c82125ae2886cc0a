#pragma once

#include "core/queue.h"
#include "wire/endpoint.h"

#include <chrono>
#include <cstddef>
#include <span>
#include <unordered_map>
#include <vector>

namespace quorin::wifi {

/// The registered clients, and the time of each client's last message. Rules only: the caller
/// passes the time in and acts on the results. Confined to the main queue.
class ClientTable {
 public:
  static constexpr std::size_t kMaxClients = 10;
  /// Timeout, applied at each check.
  static constexpr std::chrono::seconds kMaxSilence{8};
  /// Max endpoints that sent only PING. They are kept only to track their last message; the limit
  /// bounds the memory that forged addresses can use.
  static constexpr std::size_t kMaxUnregistered = 4096;

  enum class HelloResult {
    kBusy,         ///< `kMaxClients` others are registered; nothing was stored
    kFirstClient,  ///< registered, and the table was empty before
    kNewClient,    ///< registered beside others
    kKnownClient,  ///< was registered already; last-seen time refreshed
  };

  /// `local` is the address of this computer that the client asked; a later HELLO may ask another.
  HelloResult hello(wire::Endpoint key, std::uint32_t local, dispatch::BootTime now);

  /// Refreshes the last-seen time of `key`, registered or not; never registers it.
  void ping(wire::Endpoint key, dispatch::BootTime now);

  /// Removes `key`. True when it was registered.
  bool stop(wire::Endpoint key);

  /// Removes the keys past the timeout. Returns how many of them were registered.
  std::size_t expire(dispatch::BootTime now);

  void clear();

  struct Client {
    wire::Endpoint endpoint;
    std::uint32_t local;       ///< the address that it sent to; the source of replies
    dispatch::BootTime since;  ///< registered at
  };
  /// The registered clients in the order in which they joined. Valid until the next change.
  std::span<const Client> clients() const { return udpClients_; }
  bool isRegistered(wire::Endpoint key) const;
  bool isFull() const { return udpClients_.size() >= kMaxClients; }

 private:
  std::vector<Client> udpClients_;
  std::unordered_map<wire::Endpoint, dispatch::BootTime> udpClientLastSeen_;
};

}  // namespace quorin::wifi
