// A day of sound from a sound card whose clock is not the computer's, in simulated time: what the
// queue loses and how long the sound waits, with a plain timer and with the disciplined one.
#include "stream/simulated_stream.h"

#include <chrono>
#include <cstdio>

using namespace std::chrono_literals;
namespace stream = quorin::stream;

int main() {
  std::puts("capture clock    timer        starved ticks  chunks cut  latency p50 / p99");
  for (const double ppm : {-200.0, 0.0, 200.0}) {
    for (const bool disciplined : {false, true}) {
      stream::Stream stream({.name = "", .ppm = ppm}, disciplined, stream::TimePoint{7ms});
      stream.play(1min);
      auto day = stream.play(24h);
      std::printf(
          "%+5.0f ppm        %-11s  %13llu  %10llu  %.1f / %.1f ms\n", ppm,
          disciplined ? "disciplined" : "plain", static_cast<unsigned long long>(day.starved),
          static_cast<unsigned long long>(day.overflowed),
          stream::milliseconds(day.percentile(0.5)), stream::milliseconds(day.percentile(0.99)));
    }
  }
  return 0;
}
