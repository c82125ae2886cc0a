#pragma once

#include "core/queue.h"
#include "wire/endpoint.h"

#include <chrono>
#include <cstddef>
#include <span>
#include <vector>

namespace quorin::wifi {

/// The registered clients, and the time of each client's last message. Rules only: the caller
/// passes the time in and acts on the results. Confined to the main queue.
class ClientTable {
 public:
  static constexpr std::size_t kMaxClients = 10;
  /// A client silent for longer than this at a check is removed.
  static constexpr std::chrono::seconds kMaxSilence{8};

  enum class HelloResult {
    kBusy,         ///< `kMaxClients` others are registered; nothing was stored
    kFirstClient,  ///< registered, and the table was empty before
    kNewClient,    ///< registered beside others
    kKnownClient,  ///< was registered already; last-seen time refreshed
  };

  /// `local` is the address of this computer that the client asked; a later HELLO may ask another.
  HelloResult hello(wire::Endpoint key, std::uint32_t local, dispatch::BootTime now);

  /// Refreshes the last-seen time of a client. Strangers leave no trace, so they cost no memory.
  void ping(wire::Endpoint key, dispatch::BootTime now);

  /// Removes `key`. True when it was registered.
  bool stop(wire::Endpoint key);

  /// Removes the clients past the timeout. Returns how many.
  std::size_t expire(dispatch::BootTime now);

  void clear() { udpClients_.clear(); }

  struct Client {
    wire::Endpoint endpoint;
    std::uint32_t local;       ///< the address that it sent to; the source of replies
    dispatch::BootTime since;  ///< registered at
    dispatch::BootTime lastSeen;
  };
  /// In the order in which they joined. Valid until the next change.
  std::span<const Client> clients() const { return udpClients_; }
  bool isRegistered(wire::Endpoint key) const;
  bool isFull() const { return udpClients_.size() >= kMaxClients; }

 private:
  std::vector<Client> udpClients_;
};

}  // namespace quorin::wifi
