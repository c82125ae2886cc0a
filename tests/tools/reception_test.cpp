#include "quorin-listen/reception.h"

#include "measure/sound_format.h"
#include "quorin-listen/report.h"

#include <gmock/gmock.h>

#include <QJsonDocument>
#include <QJsonObject>
#include <vector>

namespace quorin::listen {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;

/// Datagrams of silence, 20 ms apart.
class Receiving : public testing::Test {
 protected:
  void receive(int datagrams) {
    const std::vector<std::byte> silence(measure::kInt16Bytes);
    for (int i = 0; i < datagrams; ++i) {
      reception_.add({.arrived = now_ += 20ms, .bytes = silence});
    }
  }

  measure::Nanoseconds now_{1h};
  Reception reception_;
};

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
  EXPECT_THAT(liveLine(reception_, now_), HasSubstr("50/s  gaps 0  jitter p50 0.00 p99 0.00 ms"));
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
