#include "quorin-listen/reception.h"

#include "measure/sound_format.h"
#include "quorin-listen/report.h"

#include <gmock/gmock.h>

#include <QJsonDocument>
#include <QJsonObject>
#include <cmath>
#include <cstring>
#include <numbers>
#include <vector>

namespace quorin::listen {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;

/// A 441 Hz tone (exactly 8.82 periods a datagram), half of full scale.
class Receiving : public testing::Test {
 protected:
  void receive(int datagrams, measure::SampleFormat format = measure::SampleFormat::kInt16) {
    for (int i = 0; i < datagrams; ++i) {
      std::vector<std::byte> bytes;
      for (std::size_t k = 0; k < 882; ++k) {
        const double value = 0.5 * std::sin(2 * std::numbers::pi * 0.01 * phase_++);
        if (format == measure::SampleFormat::kFloat32) {
          append(bytes, static_cast<float>(value));
        } else {
          append(bytes, static_cast<std::int16_t>(std::lround(value * 32767)));
        }
      }
      now_ += 20ms;
      reception_.add({.arrived = now_, .bytes = bytes});
    }
  }

  measure::Nanoseconds now_{1h};
  Reception reception_;

 private:
  template <typename Sample>
  static void append(std::vector<std::byte>& bytes, Sample sample) {
    const auto* first = reinterpret_cast<const std::byte*>(&sample);
    bytes.insert(bytes.end(), first, first + sizeof sample);
  }

  double phase_ = 0;
};

TEST_F(Receiving, KnowsTheFormatByTheLengthAlone) {
  receive(100);
  receive(100, measure::SampleFormat::kFloat32);
  EXPECT_EQ(reception_.arrivals().datagrams(), 200U);
  EXPECT_NEAR(reception_.level().rmsDb, -9.03, 0.01);
  EXPECT_NEAR(measure::frequencyOf(reception_.lastSecond()), 441, 0.01);
}

TEST_F(Receiving, IgnoresLengthsThatAreNoSound) {
  const std::vector<std::byte> bytes(1763);
  EXPECT_TRUE(reception_.add({.arrived = now_, .bytes = bytes}).empty());
  EXPECT_EQ(reception_.arrivals().datagrams(), 0U);
}

TEST_F(Receiving, KeepsOneSecondAtMost) {
  receive(200);
  EXPECT_EQ(reception_.lastSecond().size(), measure::kSampleRate);
  EXPECT_EQ(reception_.inLastSecond(now_), 50U);
  EXPECT_EQ(reception_.inLastSecond(now_ + 500ms), 25U);
  EXPECT_EQ(reception_.inLastSecond(now_ + 5s), 0U);
}

TEST_F(Receiving, ShowsItselfInOneLine) {
  EXPECT_THAT(liveLine(reception_, now_), HasSubstr("0/s  gaps 0"));
  receive(100);
  const auto line = liveLine(reception_, now_);
  EXPECT_THAT(line, HasSubstr("50/s  gaps 0  jitter p50 0.00 p99 0.00 ms  [####"));
  EXPECT_THAT(line, HasSubstr(" -9.0 dB"));
  EXPECT_THAT(liveLine(reception_, now_ + 5s), HasSubstr("Nothing arrives any more."));
}

TEST_F(Receiving, ReportsTheSameNumbersAsTextAndAsJson) {
  receive(100);
  now_ += 60ms;
  receive(1);
  const auto report = reportOf(reception_, 1500us);
  EXPECT_THAT(asText(report), HasSubstr("101 datagrams, 2.02 s of sound"));
  EXPECT_THAT(asText(report), HasSubstr("gaps       1\n"));
  const auto json = QJsonDocument::fromJson(QByteArray::fromStdString(asJson(report))).object();
  EXPECT_EQ(json["datagrams"].toInt(), 101);
  EXPECT_EQ(json["gaps"].toInt(), 1);
  EXPECT_NEAR(json["jitter_ms"]["max"].toDouble(), 60, 1e-3);
  EXPECT_NEAR(json["round_trip_ms"].toDouble(), 1.5, 1e-9);
}

}  // namespace
}  // namespace quorin::listen
