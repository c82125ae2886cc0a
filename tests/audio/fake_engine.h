#pragma once

#include "platform/audio/engine.h"

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

namespace quorin::test {

/// An input device in the test's hand.
class FakeEngine : public audio::AudioEngine {
 public:
  audio::Format format{.sampleRate = 48000, .channels = 2};
  std::optional<std::string> startFailure;
  std::function<void()> onStart;

  /// Where buffers go in; may outlive the engine. Any thread.
  struct Tap {
    /// As the audio server's thread would; silently nothing without a handler.
    void deliver(const audio::BufferView& buffer) {
      const std::lock_guard lock(mutex);
      if (handler) handler(buffer);
    }
    void set(TapHandler newHandler) {
      const std::lock_guard lock(mutex);
      handler = std::move(newHandler);
    }

    std::mutex mutex;
    TapHandler handler;
  };
  const std::shared_ptr<Tap> tap = std::make_shared<Tap>();

  void deliver(const audio::BufferView& buffer) { tap->deliver(buffer); }

  audio::Format inputFormat() override { return format; }
  void installTap(std::size_t, TapHandler handler) override { tap->set(std::move(handler)); }
  void removeTap() override { tap->set({}); }
  std::expected<void, audio::Error> start() override {
    if (onStart) onStart();
    if (startFailure) return std::unexpected(audio::Error{*startFailure});
    return {};
  }
  void stop() override {}
};

}  // namespace quorin::test
