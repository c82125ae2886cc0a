#pragma once

#include "app/cable_switch.h"
#include "wifi/chunk_sink.h"

namespace quorin::app {

/// The cable mode: the link to the phone, the sound's way to it, and what the page says of it.
/// Main queue, but for what the pacing of the sound asks of it.
class CableMode : public CableSwitch, public wifi::ChunkSink {
 public:
  void turnOn() override {}
  void turnOff() override {}
  void clearForcedOffline() override {}
  bool hasChannel() const override { return false; }

  bool channelOpen() const override { return false; }
  void sendChunk(wire::AudioChunkView) override {}
};

}  // namespace quorin::app
