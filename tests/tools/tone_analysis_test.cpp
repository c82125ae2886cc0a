#include "measure/tone_analysis.h"

#include "measure/sound_format.h"

#include <gmock/gmock.h>

#include <cmath>
#include <numbers>

namespace quorin::measure {
namespace {

using Samples = std::vector<float>;
using testing::SizeIs;

/// Rounded to 16 bits, as it would come over the network.
Samples tone(double hertz, double amplitude, double seconds) {
  Samples samples(static_cast<std::size_t>(seconds * kSampleRate));
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const double phase = 2 * std::numbers::pi * hertz * static_cast<double>(i) / kSampleRate;
    samples[i] = static_cast<float>(std::nearbyint(amplitude * 32767 * std::sin(phase)) / 32767);
  }
  return samples;
}

TEST(Frequency, IsThatOfTheTone) {
  for (const double hertz : {50.0, 440.0, 997.0, 1480.0, 8000.0}) {
    EXPECT_NEAR(frequencyOf(tone(hertz, 0.1, 1)), hertz, 0.05) << hertz;
  }
  EXPECT_EQ(frequencyOf(Samples(1000)), 0);
  EXPECT_EQ(frequencyOf({}), 0);
}

TEST(Cuts, AreFoundAsManyAsThereAre) {
  constexpr std::size_t kAt = 20'011;
  const struct {
    const char* name;
    void (*damage)(Samples&);
    std::size_t cuts;
  } cases[] = {
      {"none", [](Samples&) {}, 0},
      {"a lost sample", [](Samples& s) { s.erase(s.begin() + kAt); }, 1},
      {"a doubled sample", [](Samples& s) { s.insert(s.begin() + kAt, s[kAt]); }, 1},
      {"20 ms of silence put in", [](Samples& s) { s.insert(s.begin() + kAt, 882, 0); }, 1},
      {"two lost datagrams",
       [](Samples& s) {
         for (const auto at : {60'000, 20'000}) s.erase(s.begin() + at, s.begin() + at + 882);
       },
       2},
  };
  for (const double hertz : {220.0, 440.0, 997.0, 1480.0}) {
    for (const double amplitude : {0.05, 0.3, 1.0}) {
      for (const auto& row : cases) {
        auto samples = tone(hertz, amplitude, 2);
        row.damage(samples);
        EXPECT_THAT(cutsIn(samples), SizeIs(row.cuts))
            << row.name << ", " << hertz << " Hz, " << amplitude;
      }
    }
  }
}

}  // namespace
}  // namespace quorin::measure
