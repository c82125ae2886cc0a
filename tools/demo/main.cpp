// The sound of ./dev demo: plays it, and judges what arrived of it.
//
//   quorin-demo play SINK TICKS_FILE                   plays the track, notes when its ticks played
//   quorin-demo judge WAV_FILE ARRIVALS_FILE TICKS_FILE   prints the table; 0 when all arrived
#include "measure/latency.h"
#include "measure/tone_analysis.h"
#include "measure/wav_file.h"
#include "sound/player.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <span>
#include <string>
#include <vector>

namespace quorin {
namespace {

using measure::Nanoseconds;
using Samples = std::span<const float>;

constexpr double kLengthToleranceMs = 1;
constexpr double kLevelToleranceDb = 0.5;
constexpr double kFrequencyTolerance = 0.2;

int failed(const std::string& sentence) {
  std::cerr << "quorin-demo: " << sentence << '\n';
  return 1;
}

int play(const std::string& sink, const std::string& ticksPath) {
  // Enough for a busy machine; the melody shall not be torn before it is streamed.
  constexpr std::chrono::milliseconds kAhead{150};
  const auto played = sound::play(sound::demoTrack(), sink, kAhead);
  if (!played) return failed(played.error());
  std::ofstream file(ticksPath);
  for (const auto tick : played->ticks) file << tick.count() << '\n';
  if (!file) return failed("Cannot write " + ticksPath + ".");
  if (played->timesLate > 0) {
    return failed("This machine is too busy: the player itself was late " +
                  std::to_string(played->timesLate) + " times, so the melody was torn already.");
  }
  return 0;
}

std::size_t samplesIn(double seconds) {
  return static_cast<std::size_t>(std::llround(seconds * measure::kSampleRate));
}

/// The part of `sound` from `start` on for `duration`, in seconds; shorter at its end.
Samples part(Samples sound, double start, double duration) {
  const auto first = std::min(samplesIn(start), sound.size());
  return sound.subspan(first, std::min(samplesIn(duration), sound.size() - first));
}

/// Where the sound begins: the notes start softly, so a hundredth of full scale is soon passed.
std::size_t beginningOf(Samples sound) {
  const auto loud = [](float sample) { return std::abs(sample) > 0.01F; };
  return static_cast<std::size_t>(std::ranges::find_if(sound, loud) - sound.begin());
}

int judge(const std::string& wavPath, const std::string& arrivalsPath,
          const std::string& ticksPath) {
  const auto wav = measure::readWav(wavPath);
  if (!wav) return failed(wav.error());
  const Samples received = *wav;

  std::vector<measure::Arrival> arrivals;
  measure::ArrivalStatistics statistics;
  std::ifstream arrivalsFile(arrivalsPath);
  Nanoseconds::rep at = 0;
  for (std::size_t frames = 0; arrivalsFile >> at >> frames;) {
    arrivals.push_back({.at = Nanoseconds(at), .frames = frames});
    statistics.add(Nanoseconds(at), frames);
  }
  std::vector<Nanoseconds> ticksPlayed;
  std::ifstream ticksFile(ticksPath);
  while (ticksFile >> at) ticksPlayed.emplace_back(at);

  const auto found = beginningOf(received);
  if (found == received.size()) return failed("No sound arrived, only silence.");
  const auto& track = sound::demoTrack();
  const auto& played = sound::melody();
  // What `beginningOf` adds to the true beginning is measured on the melody itself.
  const auto delay = samplesIn(sound::Track::secondsAt(beginningOf(played)));
  const auto beginning = found - std::min(found, delay);
  const auto seconds = sound::Track::secondsAt(played.size());
  const auto melody = part(received.subspan(beginning), 0, seconds);
  const auto cuts = measure::cutsIn(melody).size();
  const auto level = measure::levelOf(melody);
  const auto levelPlayed = measure::levelOf(played);
  // The last note, after those before it have died away and before it fades itself.
  const auto& last = sound::melodyNotes().back();
  const auto frequency = measure::frequencyOf(part(melody, last.start + 0.5, 0.8));

  // The ticks follow in silence; some distance keeps the melody's own end out.
  const auto ticksFrom = std::min(beginning + samplesIn(seconds + 0.1), received.size());
  const auto ticks = measure::ticksIn(received.subspan(ticksFrom));
  double lengthErrorMs = 1e3;
  if (!ticks.empty()) {
    const double length =
        static_cast<double>(ticksFrom + ticks.front() - beginning) / measure::kSampleRate;
    lengthErrorMs = 1000 * (length - sound::Track::secondsAt(track.ticks.front()));
  }
  const auto arrived = measure::tickArrivals(received, arrivals, ticksFrom);
  const auto latency = measure::spreadOf(
      measure::tickLatenciesMs(ticksPlayed, arrived, std::chrono::milliseconds(150)));

  const auto jitter = statistics.deviation();
  std::printf("  chunks      %zu\n", statistics.datagrams());
  std::printf("  sound       %.2f s, %.4f of real time\n", statistics.soundSeconds(),
              statistics.delivered());
  std::printf("  melody      length off by %.2f ms, %zu of %zu ticks after it\n", lengthErrorMs,
              ticks.size(), track.ticks.size());
  std::printf("  frequency   %.2f Hz; its last note is %.2f Hz\n", frequency, last.hertz);
  std::printf("  level       %.1f dB; played with %.1f dB\n", level.rmsDb, levelPlayed.rmsDb);
  std::printf("  gaps        %zu in the sound, %zu in its arrival\n", cuts, statistics.gaps());
  std::printf("  jitter      p50 %.2f, p99 %.2f, max %.2f ms away from one chunk every 20 ms\n",
              jitter.p50, jitter.p99, jitter.max);
  std::printf(
      "  latency     p50 %.1f, max %.1f ms, from the sink's playing a tick to its arrival\n",
      latency.p50, latency.max);
  const bool whole = cuts == 0 && ticks.size() == track.ticks.size() &&
                     std::abs(frequency - last.hertz) < kFrequencyTolerance &&
                     std::abs(level.rmsDb - levelPlayed.rmsDb) < kLevelToleranceDb &&
                     std::abs(lengthErrorMs) < kLengthToleranceMs;
  return whole ? 0 : 1;
}

}  // namespace
}  // namespace quorin

int main(int argc, char** argv) {
  const std::vector<std::string> arguments(argv + 1, argv + argc);
  if (arguments.size() == 3 && arguments[0] == "play") {
    return quorin::play(arguments[1], arguments[2]);
  }
  if (arguments.size() == 4 && arguments[0] == "judge") {
    return quorin::judge(arguments[1], arguments[2], arguments[3]);
  }
  std::cerr << "usage: quorin-demo play SINK TICKS | quorin-demo judge WAV ARRIVALS TICKS\n";
  return 2;
}
