#include "wire/audio_chunk.h"

#include <algorithm>
#include <bit>
#include <cassert>
#include <cmath>

namespace quorin::wire {
namespace {

static_assert(std::endian::native == std::endian::little, "the datagrams are little-endian");

constexpr float kFullScale = 32767.0F;

std::int16_t convertOne(float sample) {
  if (std::isnan(sample)) return 0;
  return static_cast<std::int16_t>(std::lrintf(std::clamp(sample, -1.0F, 1.0F) * kFullScale));
}

}  // namespace

void convertToPcm16(std::span<const float> samples, std::span<std::int16_t> out) {
  assert(out.size() == samples.size());
  std::ranges::transform(samples, out.begin(), convertOne);
}

}  // namespace quorin::wire
