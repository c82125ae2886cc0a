#pragma once

#include "platform/audio/format.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace quorin::audio {

/// Turns sound of one format into mono sound of another rate, block by block.
///
/// Mono is the mean of the channels. A frame whose mean is not finite, above 1e20 or below 1e-20 in
/// magnitude (denormals would slow the filter down) counts as silence, so that one broken sample
/// does not corrupt the frames around it. Confined to one thread at a time.
class SampleConverter {
 public:
  enum class Status : std::uint8_t {
    kHaveData = 0,     ///< the output is full
    kInputRanDry = 1,  ///< the input is used up
    kEndOfStream = 2,
    kError = 3,  ///< nothing was converted
  };

  struct Result {
    Status status = Status::kInputRanDry;
    std::span<const float> output;  ///< the converter's own; valid until the next `convert`
    std::string_view error;         ///< a description, possibly empty, with `kError`
  };

  virtual ~SampleConverter() = default;
  SampleConverter(const SampleConverter&) = delete;
  SampleConverter& operator=(const SampleConverter&) = delete;

  /// Consumes all of `input`, which must have the converter's input format, and outputs at most
  /// `capacity` frames. The excess is lost, so that latency cannot creep.
  ///
  /// Allocates nothing for blocks of up to 40 ms.
  virtual Result convert(const BufferView& input, std::size_t capacity) = 0;

  virtual std::string description() const = 0;

 protected:
  SampleConverter() = default;
};

/// Returns null if the formats cannot be converted. `to` is mono.
using ConverterFactory =
    std::function<std::unique_ptr<SampleConverter>(const Format& from, const Format& to)>;

/// The system's own converter: n input frames give n x to / from output frames from the first block
/// on, delayed by half the filter (1.2 ms from 48000 Hz, 6 ms from 8000; nothing at equal rates).
std::unique_ptr<SampleConverter> makeSampleConverter(const Format& from, const Format& to);

}  // namespace quorin::audio
