#pragma once

#include "measure/wav_file.h"
#include "quorin-listen/options.h"
#include "quorin-listen/playback.h"
#include "quorin-listen/sound_source.h"

#include <expected>
#include <fstream>
#include <memory>
#include <optional>
#include <string>

namespace quorin::listen {

/// Where the received sound goes besides the statistics, as the options ask.
class Outputs {
 public:
  /// Everything that can fail early fails here. The error is a sentence for the user.
  static std::expected<Outputs, std::string> open(const Options& options);

  /// The error is a sentence for the user; the outputs are not usable after it.
  std::expected<void, std::string> add(const Sound& sound, std::span<const float> samples);

 private:
  std::optional<std::string> wavPath_;
  std::optional<measure::WavWriter> wav_;
  std::optional<std::ofstream> arrivals_;
  std::unique_ptr<Playback> playback_;
};

}  // namespace quorin::listen
