#pragma once

#include "app/cable_switch.h"
#include "platform/dispatch/scheduler.h"
#include "platform/usb/channel.h"
#include "platform/usb/usb_hub.h"
#include "usb/cable.h"
#include "wifi/chunk_sink.h"

#include <QString>
#include <atomic>
#include <functional>
#include <memory>

namespace quorin::app {

/// The cable's audio path as the pacing of the sound sees it. The sender is made before the
/// cable, which sends from the sender's queue: hence the late connection.
class CableSink : public wifi::ChunkSink {
 public:
  /// Main queue. `path` outlives the pacing.
  void connect(usb::CableAudioPath& path) { path_.store(&path, std::memory_order_release); }

  bool channelOpen() const override {
    const auto* const path = path_.load(std::memory_order_acquire);
    return path != nullptr && path->isOpen();
  }
  void sendChunk(wire::AudioChunkView samples) override {
    if (auto* const path = path_.load(std::memory_order_acquire)) path->send(samples);
  }

 private:
  std::atomic<usb::CableAudioPath*> path_{nullptr};
};

/// The cable mode: the hub, the link to the phone, and what the page says of them. Main queue.
class CableMode : public CableSwitch {
 public:
  struct Reports {
    std::function<void(bool connected)> channelChanged;
    std::function<void(const QString& text, bool isStatus)> presentMessage;
  };

  /// `sendQueue` paces the sound; it and the scheduler outlive the mode.
  CableMode(dispatch::Scheduler& scheduler, dispatch::Queue& sendQueue, Reports reports);

  /// Listens for phones; tries nobody before `turnOn`. Once, at start-up.
  void start();
  /// Starts the ping loop. Once, at start-up.
  void ping() { cable_.ping(); }

  void turnOn() override { cable_.link().enterCableMode(); }
  void turnOff() override { cable_.link().leaveCableMode(); }
  void clearForcedOffline() override { cable_.link().setUserForcedOffline(false); }
  bool hasChannel() const override { return cable_.link().connectedChannel() != nullptr; }

  /// A line typed into the console. False while nobody is connected: the text is then kept.
  bool sendMessage(const QString& text) { return cable_.sendMessage(text.toStdString()); }

  usb::CableAudioPath& audioPath() { return cable_.audioPath(); }

 private:
  std::unique_ptr<usb::PTUSBHub> hub_;
  std::unique_ptr<usb::PTChannelFactory> channels_;
  usb::Cable cable_;
};

}  // namespace quorin::app
