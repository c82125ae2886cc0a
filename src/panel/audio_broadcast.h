#pragma once

#include "core/scheduler.h"
#include "panel/client_manager.h"
#include "panel/statistics.h"
#include "panel/udp_socket.h"
#include "wire/audio_chunk.h"

#include <chrono>
#include <memory>

namespace quorin::panel {

/// What the capture thread does with each chunk. It owns or borrows for the length of one
/// broadcast all that it touches, so that the server may stop, start or go away meanwhile; in
/// steady state it neither allocates nor waits.
struct AudioBroadcast {
  /// Half of what a chunk lasts. With more clients than this allows the capture would fall behind;
  /// each chunk then reaches only some of them, in turn.
  static constexpr std::chrono::milliseconds kMaxDuration{10};

  const dispatch::Scheduler& scheduler;
  std::weak_ptr<DatagramSocket> socket;
  std::shared_ptr<const Recipients> recipients;
  std::shared_ptr<Statistics> statistics;
  std::size_t next = 0;  ///< whose turn it is

  /// Sends the chunk as it is to everybody; without anybody it is dropped and not counted.
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
