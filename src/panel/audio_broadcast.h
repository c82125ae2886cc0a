#pragma once

#include "panel/datagram_socket.h"
#include "panel/recipients.h"
#include "panel/statistics.h"
#include "wire/audio_chunk.h"

#include <memory>

namespace quorin::panel {

/// What the capture thread does with each chunk. It owns or borrows for the length of one
/// broadcast all that it touches, so that the server may stop, start or go away meanwhile; in
/// steady state it allocates nothing and waits for nobody.
struct AudioBroadcast {
  std::weak_ptr<DatagramSocket> socket;
  std::shared_ptr<const Recipients> recipients;
  std::shared_ptr<Statistics> statistics;

  /// Sends the chunk as it is to everybody; with nobody there it is dropped and not counted.
  void broadcastAudio(wire::AudioChunkView chunk) const {
    const auto everybody = recipients->load();
    const auto ownSocket = socket.lock();
    if (!ownSocket || everybody->empty()) return;
    ownSocket->sendToAll(std::as_bytes(chunk), *everybody);
    statistics->countPacket();
  }
};

}  // namespace quorin::panel
