#pragma once

#include "measure/sound_format.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <expected>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace quorin::measure {

/// Writes mono 44100 Hz sound as it comes to a WAV file. The header is made true after every
/// second of sound, so that the file of a receiver that was killed plays but for its last second.
class WavWriter {
 public:
  /// Replaces the file. The error is a sentence for the user.
  static std::expected<WavWriter, std::string> create(const std::string& path, SampleFormat format);

  WavWriter(WavWriter&&) = default;
  WavWriter& operator=(WavWriter&&) = default;
  ~WavWriter();

  SampleFormat format() const { return format_; }

  /// Whole samples of the writer's format. False when the disk did not take them. Stops growing
  /// at 4 GiB, which is as much as the format can say.
  bool append(std::span<const std::byte> samples);

 private:
  struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };

  WavWriter(std::FILE* file, SampleFormat format) : file_(file), format_(format) {}
  bool writeHeader();

  std::unique_ptr<std::FILE, Close> file_;
  SampleFormat format_;
  std::uint32_t bytes_ = 0;
  std::uint32_t bytesInHeader_ = 0;
};

/// All samples of a file that `WavWriter` wrote. The error is a sentence for the user.
std::expected<std::vector<float>, std::string> readWav(const std::string& path);

}  // namespace quorin::measure
