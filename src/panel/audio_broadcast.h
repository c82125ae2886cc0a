#pragma once

#include "core/scheduler.h"
#include "panel/client_manager.h"
#include "panel/statistics.h"
#include "panel/udp_socket.h"
#include "wire/audio_chunk.h"

#include <chrono>
#include <memory>

namespace quorin::panel {

/// Sends each chunk on the capture thread. Owns what it uses, or locks it for one broadcast, so the
/// server may stop, start or be destroyed meanwhile. In steady state it neither allocates nor
/// waits.
struct AudioBroadcast {
  /// Half a chunk. If sending to all clients would take longer, the capture would fall behind; each
  /// chunk then goes to only some of them, in turn.
  static constexpr std::chrono::milliseconds kMaxDuration{10};

  const dispatch::Scheduler& scheduler;
  std::weak_ptr<DatagramSocket> socket;
  std::shared_ptr<const Recipients> recipients;
  std::shared_ptr<Statistics> statistics;
  std::size_t next = 0;  ///< index of the next recipient

  /// Sends the chunk unchanged to all clients; without clients it is dropped and not counted.
  void broadcastAudio(wire::AudioChunkView chunk) {
    const auto everybody = recipients->load();
    const auto ownSocket = socket.lock();
    if (!ownSocket || everybody->empty()) return;
    const auto deadline = scheduler.now() + kMaxDuration;
    for (std::size_t sent = 0; sent < everybody->size() && scheduler.now() <= deadline; ++sent) {
      ownSocket->send(std::as_bytes(chunk), (*everybody)[next++ % everybody->size()]);
    }
    statistics->countPacket();
  }
};

}  // namespace quorin::panel
