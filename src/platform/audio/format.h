#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>

namespace quorin::audio {

/// A sample format. Samples are always 32-bit float, interleaved, in native byte order. 0 channels:
/// no device.
struct Format {
  unsigned sampleRate = 0;  ///< frames a second
  unsigned channels = 0;

  bool exists() const { return sampleRate != 0 && channels != 0; }
  bool operator==(const Format&) const = default;
};

/// For log lines: "2 ch, 48000 Hz, Float32, interleaved".
std::string describe(const Format& format);

/// Borrowed sound: whole frames, `format.channels` samples each.
struct BufferView {
  std::span<const float> samples;
  Format format;

  std::size_t frames() const { return format.channels == 0 ? 0 : samples.size() / format.channels; }
};

/// The block length at `sampleRate` with the duration of `frames` at `targetRate`, or twice that
/// duration if only that is a whole number; none otherwise. Such blocks convert to whole frames, so
/// the converter keeps no remainder.
std::optional<std::size_t> wholeBlockFrames(unsigned sampleRate, std::size_t frames,
                                            unsigned targetRate);

}  // namespace quorin::audio
