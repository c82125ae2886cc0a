#include "measure/sound_format.h"

#include <cstdint>
#include <cstring>

namespace quorin::measure {

std::optional<SampleFormat> formatOfLength(std::size_t bytes) {
  if (bytes == kInt16Bytes) return SampleFormat::kInt16;
  if (bytes == kFloatBytes) return SampleFormat::kFloat32;
  return std::nullopt;
}

std::vector<float> decode(std::span<const std::byte> bytes, SampleFormat format) {
  if (format == SampleFormat::kFloat32) {
    std::vector<float> samples(bytes.size() / sizeof(float));
    std::memcpy(samples.data(), bytes.data(), samples.size() * sizeof(float));
    return samples;
  }
  std::vector<float> samples(bytes.size() / 2);
  for (std::size_t i = 0; i < samples.size(); ++i) {
    std::int16_t value = 0;
    std::memcpy(&value, bytes.data() + 2 * i, sizeof value);
    samples[i] = static_cast<float>(value) / 32767.0F;
  }
  return samples;
}

}  // namespace quorin::measure
