#include "measure/tone_analysis.h"

#include "measure/sound_format.h"

#include <gmock/gmock.h>

#include <cmath>
#include <numbers>

namespace quorin::measure {
namespace {

using Samples = std::vector<float>;
using testing::ElementsAre;
using testing::IsEmpty;
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

TEST(Level, ReadsAFullScaleSineAsMinusThreeDecibels) {
  const auto level = levelOf(tone(441, 1, 1));
  EXPECT_NEAR(level.rmsDb, -3.01, 0.01);
  EXPECT_NEAR(level.peakDb, 0, 0.01);
  EXPECT_EQ(levelOf(Samples(100)).rmsDb, -120);
  EXPECT_EQ(levelOf({}).rmsDb, -120);
}

TEST(Frequency, IsThatOfTheTone) {
  for (const double hertz : {50.0, 440.0, 997.0, 1480.0, 8000.0}) {
    EXPECT_NEAR(frequencyOf(tone(hertz, 0.1, 1)), hertz, 0.05) << hertz;
  }
  EXPECT_EQ(frequencyOf(Samples(1000)), 0);
  EXPECT_EQ(frequencyOf({}), 0);
}

struct Damage {
  const char* name;
  void (*apply)(Samples&);
  std::size_t cuts;
};

class Cuts : public testing::TestWithParam<Damage> {};

TEST_P(Cuts, AreFoundAsManyAsThereAre) {
  for (const double hertz : {220.0, 440.0, 997.0, 1480.0}) {
    for (const double amplitude : {0.05, 0.3, 1.0}) {
      auto samples = tone(hertz, amplitude, 2);
      GetParam().apply(samples);
      EXPECT_THAT(cutsIn(samples), SizeIs(GetParam().cuts)) << hertz << " Hz, " << amplitude;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(
    Tone, Cuts,
    testing::Values(Damage{"none", [](Samples&) {}, 0},
                    Damage{"a lost datagram",
                           [](Samples& s) { s.erase(s.begin() + 20'000, s.begin() + 20'882); }, 1},
                    Damage{"one lost sample", [](Samples& s) { s.erase(s.begin() + 20'011); }, 1},
                    Damage{"one doubled sample",
                           [](Samples& s) { s.insert(s.begin() + 20'011, s[20'011]); }, 1},
                    Damage{"20 ms of silence put in",
                           [](Samples& s) { s.insert(s.begin() + 20'011, 882, 0); }, 1},
                    Damage{"two datagrams lost at two places",
                           [](Samples& s) {
                             s.erase(s.begin() + 60'000, s.begin() + 60'882);
                             s.erase(s.begin() + 20'000, s.begin() + 20'882);
                           },
                           2}),
    [](const auto& damage) {
      std::string name = damage.param.name;
      std::erase_if(name, [](char c) { return std::isalnum(static_cast<unsigned char>(c)) == 0; });
      return name;
    });

TEST(Ticks, AreSingleImpulsesInSilence) {
  Samples samples(2 * kSampleRate);
  EXPECT_THAT(ticksIn(samples), IsEmpty());
  for (const std::size_t at : {5'000U, 30'000U, 50'000U}) {
    samples[at] = 0.7F;  // with the ringing that a rate converter leaves around it
    samples[at - 1] = samples[at + 1] = 0.4F;
  }
  EXPECT_THAT(ticksIn(samples), ElementsAre(4'999U, 29'999U, 49'999U));
}

}  // namespace
}  // namespace quorin::measure
