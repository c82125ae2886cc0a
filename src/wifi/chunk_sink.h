#pragma once

#include "wire/audio_chunk.h"

namespace quorin::wifi {

/// The other way a chunk can take: the cable, which gets the sound while no Wi-Fi client is
/// registered.
class ChunkSink {
 public:
  virtual ~ChunkSink() = default;
  ChunkSink(const ChunkSink&) = delete;
  ChunkSink& operator=(const ChunkSink&) = delete;

  /// Any thread, on the way of every chunk: neither waits nor allocates.
  virtual bool channelOpen() const = 0;

  /// Pacing queue, every 20 ms while the channel is open; it may close at any moment, and the
  /// chunk is then lost. The samples are valid for the call only.
  virtual void sendChunk(wire::AudioChunkView samples) = 0;

 protected:
  ChunkSink() = default;
};

}  // namespace quorin::wifi
