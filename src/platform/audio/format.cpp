#include "platform/audio/format.h"

namespace quorin::audio {

std::string describe(const Format& format) {
  if (!format.exists()) return "no input device";
  return std::to_string(format.channels) + " ch, " + std::to_string(format.sampleRate) +
         " Hz, Float32" + (format.channels > 1 ? ", interleaved" : "");
}

std::optional<std::size_t> wholeBlockFrames(unsigned sampleRate, std::size_t frames,
                                            unsigned targetRate) {
  if (sampleRate == 0 || targetRate == 0) return std::nullopt;
  for (const std::size_t wanted : {frames, 2 * frames}) {
    const auto product = wanted * sampleRate;
    if (product % targetRate == 0) return product / targetRate;
  }
  return std::nullopt;
}

}  // namespace quorin::audio
