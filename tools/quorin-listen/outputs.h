#pragma once

#include "measure/wav_file.h"
#include "quorin-listen/options.h"
#include "quorin-listen/sound_source.h"

#include <cstdio>
#include <expected>
#include <memory>
#include <optional>
#include <string>

namespace quorin::listen {

/// Where the received sound goes besides the statistics, as the options ask. Every error is a
/// sentence for the user; the outputs are not usable after it.
class Outputs {
 public:
  /// Everything that can fail early fails here.
  static std::expected<Outputs, std::string> open(const Options& options);

  std::expected<void, std::string> add(const Sound& sound, std::span<const float> samples);

  /// Once, when nothing more comes: completes the files.
  std::expected<void, std::string> finish();

 private:
  struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };

  std::string wavPath_;
  std::optional<measure::WavWriter> wav_;
  std::string arrivalsPath_;
  std::unique_ptr<std::FILE, Close> arrivals_;
};

}  // namespace quorin::listen
