#pragma once

#include "wire/audio_chunk.h"

namespace quorin::stream {

/// A path for sound to phones: over the network or the cable. The pacing passes each chunk to the
/// first transport that has a listener.
class Transport {
 public:
  virtual ~Transport() = default;
  Transport(const Transport&) = delete;
  Transport& operator=(const Transport&) = delete;

  /// Whether chunks are wanted at all. Any thread, for every chunk: neither waits nor allocates.
  virtual bool isOpen() const = 0;

  /// Whether there is a listener at this tick. Pacing queue.
  virtual bool hasListener() const = 0;

  /// Pacing queue, every 20 ms while there is a listener; neither waits nor allocates; what cannot
  /// be sent at once is lost. The samples are valid for the call only.
  virtual void send(wire::AudioChunkView samples) = 0;

 protected:
  Transport() = default;
};

}  // namespace quorin::stream
