#pragma once

#include "platform/audio/engine.h"

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace quorin::test {

/// An input device in the test's hand. What was asked of it is in `calls`.
class FakeEngine : public audio::AudioEngine {
 public:
  audio::Format format{.sampleRate = 48000, .channels = 2};
  std::optional<std::string> startFailure;
  std::function<void()> onStart;
  std::vector<std::string> calls;

  /// Delivers one buffer, as the audio server's thread would; silently nothing without a tap.
  void deliver(const audio::BufferView& buffer) {
    if (tap_) tap_(buffer);
  }

  audio::Format inputFormat() override { return format; }
  void installTap(std::size_t frames, TapHandler handler) override {
    calls.push_back("install " + std::to_string(frames));
    tap_ = std::move(handler);
  }
  void removeTap() override {
    calls.emplace_back("remove");
    tap_ = nullptr;
  }
  std::expected<void, audio::Error> start() override {
    calls.emplace_back("start");
    if (onStart) onStart();
    if (startFailure) return std::unexpected(audio::Error{*startFailure});
    return {};
  }
  void stop() override { calls.emplace_back("stop"); }

 private:
  TapHandler tap_;
};

}  // namespace quorin::test
