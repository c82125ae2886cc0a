// The sound of ./dev demo: plays it, and judges what arrived of it.
//
//   quorin-demo play SINK TICKS_FILE                   plays the track, notes when its ticks played
//   quorin-demo judge WAV_FILE ARRIVALS_FILE TICKS_FILE UNIT   prints the table; 0 when all
//                                                      arrived. UNIT: datagram or frame
#include "demo/verdict.h"
#include "measure/wav_file.h"
#include "sound/player.h"

#include <fstream>
#include <iostream>
#include <span>
#include <string>
#include <vector>

namespace {

using quorin::measure::Nanoseconds;

int failed(const std::string& sentence) {
  std::cerr << "quorin-demo: " << sentence << '\n';
  return 1;
}

int play(const std::string& sink, const std::string& ticksPath) {
  // Enough for a busy machine; the melody shall not be torn before it is streamed.
  constexpr std::chrono::milliseconds kAhead{150};
  const auto played = quorin::sound::play(quorin::sound::demoTrack(), sink, kAhead);
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

int judge(const std::string& wavPath, const std::string& arrivalsPath, const std::string& ticksPath,
          const std::string& unit) {
  quorin::demo::Evidence evidence;
  auto received = quorin::measure::readWav(wavPath);
  if (!received) return failed(received.error());
  evidence.received = std::move(*received);

  std::ifstream arrivals(arrivalsPath);
  Nanoseconds::rep at = 0;
  for (std::size_t frames = 0; arrivals >> at >> frames;) {
    evidence.arrivals.push_back({.at = Nanoseconds(at), .frames = frames});
  }
  std::ifstream ticks(ticksPath);
  while (ticks >> at) evidence.ticksPlayed.emplace_back(at);

  const auto verdict = quorin::demo::judge(evidence);
  if (!verdict) return failed("No sound arrived, only silence.");
  std::cout << quorin::demo::tableOf(*verdict, unit);
  return verdict->whole() ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> arguments(argv + 1, argv + argc);
  if (arguments.size() == 3 && arguments[0] == "play") return play(arguments[1], arguments[2]);
  if (arguments.size() == 5 && arguments[0] == "judge") {
    return judge(arguments[1], arguments[2], arguments[3], arguments[4]);
  }
  std::cerr << "usage: quorin-demo play SINK TICKS | quorin-demo judge WAV ARRIVALS TICKS UNIT\n";
  return 2;
}
