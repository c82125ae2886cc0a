#pragma once

#include <chrono>
#include <cstddef>
#include <vector>

/// Sounds made to be measured after they went through the system: played at 48000 Hz mono, as a
/// desktop's sounds are, and judged at the 44100 Hz at which they arrive.
namespace quorin::sound {

inline constexpr unsigned kTrackRate = 48000;

/// Samples at `kTrackRate`, and where in them single-sample ticks stand.
struct Track {
  std::vector<float> samples;
  std::vector<std::size_t> ticks;

  static double secondsAt(std::size_t sample) { return static_cast<double>(sample) / kTrackRate; }
};

struct Note {
  double hertz;
  double start;     ///< seconds from the beginning of the melody
  double duration;  ///< seconds until the next note
};

/// The notes of the melody; the last one is an A of 440 Hz, held long enough to measure it.
const std::vector<Note>& melodyNotes();

/// 8 s of a melody, quiet enough for anybody's ears.
const std::vector<float>& melody();

/// Silence with a tick at every `interval`, which should not be a multiple of 20 ms, so that the
/// ticks fall on every part of a datagram.
Track tickTrack(std::chrono::milliseconds duration, std::chrono::milliseconds interval);

/// The melody, a short silence, then two seconds of ticks.
const Track& demoTrack();

}  // namespace quorin::sound
