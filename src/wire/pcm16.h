#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace quorin::wire {

/// Converts each sample to signed 16 bits: clipped to +-1, times 32767 in single precision,
/// rounded to nearest with halves to even. Not-a-number becomes 0, and -32768 never occurs.
///
/// `out` is as long as `samples` and does not overlap it. Any thread whose rounding mode is the
/// default one.
void convertToPcm16(std::span<const float> samples, std::span<std::int16_t> out);

/// One way to do it. `out` has room for `count` samples.
struct Pcm16Variant {
  std::string_view name;
  void (*convert)(const float* samples, std::int16_t* out, std::size_t count);
};

/// Every way that this processor can go, the fastest (which `convertToPcm16` takes) first; all
/// give the same bits. For tests and measurements.
std::span<const Pcm16Variant> pcm16Variants();

}  // namespace quorin::wire
