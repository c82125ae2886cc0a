#include "demo/verdict.h"

#include "measure/sound_format.h"
#include "sound/tracks.h"

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <numbers>
#include <sstream>
#include <utility>

namespace quorin::demo {
namespace {

using Samples = std::span<const float>;

constexpr double kLengthToleranceMs = 1;
constexpr double kLevelToleranceDb = 0.5;
constexpr double kFrequencyTolerance = 0.2;

std::size_t samplesIn(double seconds) {
  return static_cast<std::size_t>(std::llround(seconds * measure::kSampleRate));
}

/// The part of `sound` from `start` on for `duration`, in seconds; shorter at its end.
Samples part(Samples sound, double start, double duration) {
  const auto first = std::min(samplesIn(start), sound.size());
  return sound.subspan(first, std::min(samplesIn(duration), sound.size() - first));
}

/// The energy of one frequency, by Goertzel's recurrence.
double energyAt(double hertz, Samples sound) {
  const double turn = 2 * std::cos(2 * std::numbers::pi * hertz / measure::kSampleRate);
  double last = 0;
  double beforeLast = 0;
  for (const double sample : sound) {
    beforeLast = std::exchange(last, sample + turn * last - beforeLast);
  }
  return last * last + beforeLast * beforeLast - turn * last * beforeLast;
}

/// True when no other note of the melody is as strong while this one is played.
bool isRecognised(const sound::Note& note, Samples melody) {
  const auto heard = part(melody, note.start + 0.05, note.duration - 0.05);
  const double own = energyAt(note.hertz, heard);
  return own > 0 && std::ranges::all_of(sound::melodyNotes(), [&](const sound::Note& other) {
           return other.hertz == note.hertz || energyAt(other.hertz, heard) < own;
         });
}

/// Where the sound begins: the notes start softly, so a hundredth of full scale is soon passed.
std::optional<std::size_t> beginningOf(Samples sound) {
  const auto loud = [](float sample) { return std::abs(sample) > 0.01F; };
  const auto first = std::ranges::find_if(sound, loud);
  if (first == sound.end()) return std::nullopt;
  return static_cast<std::size_t>(first - sound.begin());
}

/// What `beginningOf` adds to the true beginning, in seconds: measured on the melody itself.
double beginningDelay() {
  return sound::Track::secondsAt(beginningOf(sound::melody()).value_or(0));
}

}  // namespace

bool Verdict::whole() const {
  return notesRecognised == sound::melodyNotes().size() && cuts == 0 &&
         std::abs(frequency - sound::melodyNotes().back().hertz) < kFrequencyTolerance &&
         std::abs(levelReceived.rmsDb - levelPlayed.rmsDb) < kLevelToleranceDb &&
         std::abs(lengthErrorMs) < kLengthToleranceMs &&
         ticksReceived == sound::demoTrack().ticks.size();
}

std::optional<Verdict> judge(const Evidence& evidence) {
  const Samples received = evidence.received;
  const auto found = beginningOf(received);
  if (!found) return std::nullopt;
  const auto beginning = *found - std::min(*found, samplesIn(beginningDelay()));
  const auto& track = sound::demoTrack();
  const auto& played = sound::melody();
  const auto& notes = sound::melodyNotes();
  const auto melodySeconds = sound::Track::secondsAt(played.size());
  const auto melody = part(received.subspan(beginning), 0, melodySeconds);

  Verdict verdict;
  for (const auto& arrival : evidence.arrivals) verdict.arrivals.add(arrival.at, arrival.frames);
  verdict.notesRecognised = static_cast<std::size_t>(std::ranges::count_if(
      notes, [melody](const sound::Note& note) { return isRecognised(note, melody); }));
  // After the notes before it have died away and before it fades itself.
  verdict.frequency = measure::frequencyOf(part(melody, notes.back().start + 0.5, 0.8));
  verdict.levelPlayed = measure::levelOf(played);
  verdict.levelReceived = measure::levelOf(melody);
  verdict.cuts = measure::cutsIn(melody).size();

  // The ticks follow in silence; some distance keeps the melody's own end out.
  const auto ticksFrom = std::min(beginning + samplesIn(melodySeconds + 0.1), received.size());
  const auto ticks = measure::ticksIn(received.subspan(ticksFrom));
  verdict.ticksReceived = ticks.size();
  if (!ticks.empty()) {
    const double length =
        static_cast<double>(ticksFrom + ticks.front() - beginning) / measure::kSampleRate;
    verdict.lengthErrorMs = 1000 * (length - sound::Track::secondsAt(track.ticks.front()));
  }
  std::vector<measure::Nanoseconds> arrived;
  for (const auto tick : ticks) {
    if (const auto* arrival = measure::arrivalOf(evidence.arrivals, ticksFrom + tick)) {
      arrived.push_back(arrival->at);
    }
  }
  verdict.latenciesMs =
      measure::tickLatenciesMs(evidence.ticksPlayed, arrived, std::chrono::milliseconds(150));
  return verdict;
}

std::string tableOf(const Verdict& verdict, const std::string& unit) {
  const auto& arrivals = verdict.arrivals;
  const auto jitter = arrivals.deviation();
  const auto latency = measure::spreadOf(verdict.latenciesMs);
  std::ostringstream table;
  table << std::fixed;
  table << "  " << std::left << std::setw(12) << unit + 's' << arrivals.datagrams() << '\n';
  table << std::setprecision(2) << "  sound       " << arrivals.soundSeconds() << " s, "
        << std::setprecision(4) << arrivals.delivered() << " of real time\n";
  table << "  melody      " << verdict.notesRecognised << " of " << sound::melodyNotes().size()
        << " notes, " << verdict.ticksReceived << " of " << sound::demoTrack().ticks.size()
        << " ticks after it, length off by " << std::setprecision(2) << verdict.lengthErrorMs
        << " ms\n";
  table << "  frequency   " << verdict.frequency << " Hz; its last note is "
        << sound::melodyNotes().back().hertz << " Hz\n";
  table << std::setprecision(1) << "  level       " << verdict.levelReceived.rmsDb
        << " dB; played with " << verdict.levelPlayed.rmsDb << " dB\n";
  table << "  gaps        " << verdict.cuts << " in the sound, " << arrivals.gaps()
        << " in its arrival\n";
  table << std::setprecision(2) << "  jitter      p50 " << jitter.p50 << ", p99 " << jitter.p99
        << ", max " << jitter.max << " ms away from one " << unit << " every 20 ms\n";
  if (!verdict.latenciesMs.empty()) {
    table << std::setprecision(1) << "  latency     p50 " << latency.p50 << ", max " << latency.max
          << " ms, from the sink's playing a tick to the arrival of its " << unit << '\n';
  }
  return table.str();
}

}  // namespace quorin::demo
