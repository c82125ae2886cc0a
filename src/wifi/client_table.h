#pragma once

#include "core/queue.h"
#include "wire/client_key.h"

#include <array>
#include <chrono>
#include <cstddef>
#include <span>
#include <unordered_map>

namespace quorin::wifi {

/// Who receives the sound, and when everybody was last heard. Rules only: the caller passes the
/// time in and acts on the answers. Confined to the main queue.
///
/// Times are the system's absolute time, so a change of the system clock ages every entry.
class ClientTable {
 public:
  static constexpr std::size_t kMaxClients = 10;
  /// A key silent for longer than this at a check is removed.
  static constexpr std::chrono::seconds kMaxSilence{8};
  /// Keys that only ever said PING have no effect on the wire, so anybody who forges source
  /// addresses may not make us remember more of them than this.
  static constexpr std::size_t kMaxMerelySeen = 4096;

  enum class HelloResult {
    kBusy,         ///< `kMaxClients` others are registered; nothing was stored
    kFirstClient,  ///< registered, and nobody was before
    kNewClient,    ///< registered beside others
    kKnownClient,  ///< was registered already; its silence begins anew
  };

  HelloResult hello(wire::ClientKey key, dispatch::WallTime now);

  /// Ends the silence of `key`, registered or not; never registers it.
  void ping(wire::ClientKey key, dispatch::WallTime now);

  /// Forgets `key`. True when it was registered.
  bool stop(wire::ClientKey key);

  struct Expired {
    std::size_t keys = 0;     ///< all that were forgotten
    std::size_t clients = 0;  ///< those of them that were registered
  };
  Expired expire(dispatch::WallTime now);

  void clear();

  /// The registered clients, in no order that means anything. Valid until the next change.
  std::span<const wire::ClientKey> clients() const { return {udpClients_.data(), clientCount_}; }

  /// Registered and merely seen keys.
  std::size_t lastSeenCount() const { return udpClientLastSeen_.size(); }

 private:
  bool isRegistered(wire::ClientKey key) const;
  bool unregister(wire::ClientKey key);

  std::array<wire::ClientKey, kMaxClients> udpClients_{};
  std::size_t clientCount_ = 0;
  std::unordered_map<wire::ClientKey, dispatch::WallTime> udpClientLastSeen_;
};

}  // namespace quorin::wifi
