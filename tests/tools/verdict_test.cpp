#include "demo/verdict.h"

#include "sound/tracks.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>

namespace quorin::demo {
namespace {

using namespace std::chrono_literals;

/// The value a `share` of the way from p[1] to p[2], by a cubic.
float interpolated(const float* p, float share) {
  const float slope = p[2] - p[0];
  const float curve = 2 * p[0] - 5 * p[1] + 4 * p[2] - p[3];
  const float bend = 3 * (p[1] - p[2]) + p[3] - p[0];
  return p[1] + share * (slope + share * (curve + share * bend)) / 2;
}

/// The demo's track at 44100 Hz, after half a second of silence, in datagrams that come 30 ms
/// after the sound was played.
class Demo : public testing::Test {
 protected:
  Demo() {
    const auto& track = sound::demoTrack();
    evidence_.received.resize(22'050);
    const double step = static_cast<double>(sound::kTrackRate) / 44100;
    for (double at = 1; at + 3 < static_cast<double>(track.samples.size()); at += step) {
      evidence_.received.push_back(interpolated(&track.samples[static_cast<std::size_t>(at) - 1],
                                                static_cast<float>(at - std::floor(at))));
    }
    evidence_.received.resize(evidence_.received.size() / 882 * 882);
    for (std::size_t i = 0; i < evidence_.received.size() / 882; ++i) {
      evidence_.arrivals.push_back({.at = kBegin + (i + 1) * 20ms, .frames = 882});
    }
  }

  Verdict verdict() const { return judge(evidence_).value(); }

  static constexpr measure::Nanoseconds kBegin = 1000h;
  Evidence evidence_;
};

TEST_F(Demo, IsWholeWhenEverythingArrived) {
  EXPECT_TRUE(verdict().whole()) << tableOf(verdict(), "datagram");
}

TEST_F(Demo, IsNotWholeWithALostDatagramWhereverItStood) {
  for (const double seconds : {0.6, 2.0, 4.71, 7.9, 8.6, 8.75, 10.1}) {
    auto cut = evidence_;
    const auto first = cut.received.begin() + 882 * std::lround(seconds * 50);
    cut.received.erase(first, first + 882);
    EXPECT_FALSE(judge(cut).value().whole()) << seconds << " s";
  }
}

TEST_F(Demo, IsNotWholeAtAnotherPitchOrLevel) {
  auto softer = evidence_;
  for (auto& sample : softer.received) sample *= 0.9F;
  EXPECT_FALSE(judge(softer).value().whole());

  auto higher = evidence_;
  const auto& original = evidence_.received;
  for (std::size_t i = 0; i < original.size(); ++i) {
    higher.received[i] = original[std::min(i * 1001 / 1000, original.size() - 1)];
  }
  EXPECT_FALSE(judge(higher).value().whole());
}

}  // namespace
}  // namespace quorin::demo
