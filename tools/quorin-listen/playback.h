#pragma once

#include <expected>
#include <memory>
#include <optional>
#include <span>
#include <string>

namespace quorin::listen {

/// Plays the received sound through the sound server, behind a small jitter buffer.
class Playback {
 public:
  /// To the sink of that name, else the default one. Never to a "Quorin Audio" device: its sound is
  /// what is being streamed, and would go round in circles. Waits for the sound server (bounded by
  /// its own time-outs). The error is a sentence for the user.
  static std::expected<std::unique_ptr<Playback>, std::string> open(
      const std::optional<std::string>& sink);

  ~Playback();
  Playback(const Playback&) = delete;
  Playback& operator=(const Playback&) = delete;

  /// Never blocks for longer than a copy takes.
  void push(std::span<const float> samples);

 private:
  struct Pulse;
  explicit Playback(std::unique_ptr<Pulse> pulse);
  std::unique_ptr<Pulse> pulse_;
};

}  // namespace quorin::listen
