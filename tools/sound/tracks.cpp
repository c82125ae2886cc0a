#include "sound/tracks.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace quorin::sound {
namespace {

constexpr double kBeat = 0.5;
constexpr double kLastNote = 1.5;
constexpr double kAttack = 0.020;  // soft, so that no note looks like a cut
constexpr double kRelease = 0.100;
constexpr double kAmplitude = 0.3;
constexpr float kTickAmplitude = 0.7F;
constexpr std::chrono::milliseconds kTickInterval{217};
constexpr std::chrono::milliseconds kPause{300};
constexpr std::chrono::milliseconds kTicking{2000};

std::size_t samplesIn(double seconds) {
  return static_cast<std::size_t>(std::llround(seconds * kTrackRate));
}

std::size_t samplesIn(std::chrono::milliseconds duration) {
  return kTrackRate / 1000 * static_cast<std::size_t>(duration.count());
}

/// From 0 to 1 with a level tangent at both ends.
double ramp(double share) {
  return 0.5 - 0.5 * std::cos(std::numbers::pi * std::clamp(share, 0.0, 1.0));
}

double toneOf(const Note& note, double time) {
  const double envelope =
      ramp(time / kAttack) * ramp((note.duration - time) / kRelease) * std::exp(-1.2 * time);
  return kAmplitude * envelope * std::sin(2 * std::numbers::pi * note.hertz * time);
}

std::vector<float> makeMelody() {
  std::vector<float> samples;
  for (const auto& note : melodyNotes()) {
    for (std::size_t i = 0; i < samplesIn(note.duration); ++i) {
      samples.push_back(static_cast<float>(toneOf(note, Track::secondsAt(i))));
    }
  }
  return samples;
}

Track makeDemoTrack() {
  Track track;
  track.samples = melody();
  track.samples.resize(track.samples.size() + samplesIn(kPause));
  const auto ticks = tickTrack(kTicking, kTickInterval);
  for (const auto at : ticks.ticks) track.ticks.push_back(track.samples.size() + at);
  track.samples.insert(track.samples.end(), ticks.samples.begin(), ticks.samples.end());
  return track;
}

}  // namespace

const std::vector<Note>& melodyNotes() {
  static const std::vector<Note> kNotes = [] {
    constexpr double kC = 261.63, kD = 293.66, kE = 329.63, kG = 392.00, kA = 440.00;
    constexpr double kHighC = 523.25, kHighD = 587.33;
    std::vector<Note> notes;
    double start = 0;
    for (const double hertz : {kC, kE, kG, kA, kHighC, kA, kG, kE, kD, kE, kG, kHighD, kHighC}) {
      notes.push_back({.hertz = hertz, .start = start, .duration = kBeat});
      start += kBeat;
    }
    notes.push_back({.hertz = kA, .start = start, .duration = kLastNote});
    return notes;
  }();
  return kNotes;
}

const std::vector<float>& melody() {
  static const auto kMelody = makeMelody();
  return kMelody;
}

Track tickTrack(std::chrono::milliseconds duration, std::chrono::milliseconds interval) {
  Track track;
  track.samples.resize(samplesIn(duration));
  const auto step = samplesIn(interval);
  for (auto at = step; at + step / 2 < track.samples.size(); at += step) {
    track.samples[at] = kTickAmplitude;
    track.ticks.push_back(at);
  }
  return track;
}

const Track& demoTrack() {
  static const auto kTrack = makeDemoTrack();
  return kTrack;
}

}  // namespace quorin::sound
