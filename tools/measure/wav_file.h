#pragma once

#include "measure/sound_format.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <expected>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace quorin::measure {

/// Writes mono 44100 Hz sound as it comes to a WAV file. Until it is finished its header promises
/// as much as the format can, so that the file of a receiver that was killed plays to its end.
///
/// A file that is there already keeps its content until sound comes.
class WavWriter {
 public:
  /// Fails where nothing can be written. The error is a sentence for the user.
  static std::expected<WavWriter, std::string> open(const std::string& path);

  /// Whole samples of one and the same format. False when the disk did not take them. Stops
  /// growing at 4 GiB, which is as much as the format can say.
  bool append(std::span<const std::byte> samples, SampleFormat format);

  /// Once: completes and closes the file; nothing is appended afterwards. False when the disk did
  /// not take all of it.
  bool finish();

 private:
  struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };

  explicit WavWriter(std::FILE* file) : file_(file) {}
  bool writeHeader(std::uint32_t bytes);

  std::unique_ptr<std::FILE, Close> file_;  ///< none once finished
  std::optional<SampleFormat> format_;      ///< of the first sound
  std::uint32_t bytes_ = 0;
};

/// All samples of a file that `WavWriter` wrote. The error is a sentence for the user.
std::expected<std::vector<float>, std::string> readWav(const std::string& path);

}  // namespace quorin::measure
