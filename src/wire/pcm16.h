#pragma once

#include <cstdint>
#include <span>

namespace quorin::wire {

/// Converts each sample to signed 16 bits: clipped to +-1, times 32767 in single precision,
/// rounded to nearest with halves to even. Not-a-number becomes 0, and -32768 never occurs.
///
/// `out` is as long as `samples` and does not overlap it. Any thread whose rounding mode is the
/// default one.
void convertToPcm16(std::span<const float> samples, std::span<std::int16_t> out);

}  // namespace quorin::wire
