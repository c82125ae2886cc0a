#include "quorin-listen/client_session.h"

#include "wire/control_message.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace quorin::listen {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using enum ClientSession::State;

/// A session in simulated time, and what it sent: "0.0 <<HELLO>>" in seconds.
class Session : public testing::Test {
 protected:
  /// Lets time pass the way a program does: wakes the session at its deadlines and not otherwise.
  void pass(std::chrono::milliseconds duration) {
    const auto until = now_ + duration;
    collect();
    while (session_.nextDeadline() <= until) {
      now_ = std::max(now_, session_.nextDeadline());
      collect();
    }
    now_ = until;
  }
  void passWithSound(std::chrono::milliseconds duration) {
    for (auto left = duration; left > 0ms; left -= 20ms) {
      pass(20ms);
      session_.onSound(now_);
    }
  }
  void serverSays(std::string_view text) { session_.onMessage(text, now_); }
  void leave() {
    session_.leave();
    collect();
  }

  std::vector<std::string> sent() { return std::exchange(sent_, {}); }

  TimePoint now_{};
  ClientSession session_{now_};

 private:
  void collect() {
    while (const auto message = session_.nextMessage(now_)) {
      const auto tenths =
          std::chrono::duration_cast<std::chrono::milliseconds>(now_.time_since_epoch()).count() /
          100;
      sent_.push_back(std::to_string(tenths / 10) + "." + std::to_string(tenths % 10) + " " +
                      std::string(*message));
    }
  }

  std::vector<std::string> sent_;
};

TEST_F(Session, JoinsKeepsAliveAndLeaves) {
  pass(100ms);
  EXPECT_EQ(session_.state(), kJoining);
  serverSays("<<READY>>");
  serverSays("<<FORMAT:SR=44100,DEPTH=16,ENDIAN=LITTLE,CH=1,CHUNK=882>>");
  EXPECT_EQ(session_.state(), kJoined);
  passWithSound(6500ms);
  leave();
  EXPECT_THAT(sent(), ElementsAre("0.0 <<HELLO>>", "3.1 <<PING>>", "6.1 <<PING>>", "6.6 <<STOP>>"));
  pass(20s);
  EXPECT_THAT(sent(), IsEmpty());
}

TEST_F(Session, RepeatsTheHelloAndGivesUpAfterThreeSeconds) {
  pass(2900ms);
  EXPECT_EQ(session_.state(), kJoining);
  pass(200ms);
  EXPECT_EQ(session_.state(), kUnanswered);
  pass(10s);
  EXPECT_THAT(sent(), ElementsAre("0.0 <<HELLO>>", "1.0 <<HELLO>>", "2.0 <<HELLO>>"));
}

TEST_F(Session, KnowsTheOrderOfTheAnswers) {
  constexpr auto kInt16 = measure::SampleFormat::kInt16;
  constexpr auto kFloat = measure::SampleFormat::kFloat32;
  const std::string_view ready = wire::kReady;
  const std::string_view format = wire::kFormat;
  struct Case {
    std::vector<std::string_view> before;  // the sound
    measure::SampleFormat sound;
    std::vector<std::string_view> after;
    bool isInOrder;
  };
  for (const auto& [before, sound, after, isInOrder] :
       {Case{{ready, format}, kInt16, {}, true}, Case{{ready}, kFloat, {}, true},
        Case{{ready, format, ready, format}, kInt16, {ready, format}, true},
        Case{{ready}, kInt16, {format}, false}, Case{{format, ready}, kInt16, {}, false},
        Case{{format}, kInt16, {ready}, false}, Case{{}, kInt16, {ready, format}, false}}) {
    session_ = ClientSession(now_);
    pass(0ms);
    for (const auto answer : before) serverSays(answer);
    EXPECT_TRUE(session_.onSound(now_, sound));
    for (const auto answer : after) serverSays(answer);
    EXPECT_EQ(session_.answeredInOrder(), isInOrder) << session_.answers();
    EXPECT_EQ(session_.state(), kJoined);
  }
}

TEST_F(Session, RefusesAFormatThatItDoesNotKnow) {
  pass(0ms);
  serverSays(wire::kReady);
  serverSays("<<FORMAT:SR=48000,DEPTH=16,ENDIAN=LITTLE,CH=1,CHUNK=882>>");
  EXPECT_EQ(session_.state(), kStrangeFormat);
  EXPECT_THAT(session_.strangeFormat(), testing::HasSubstr("SR=48000"));
}

TEST_F(Session, NothingForgedEndsAStream) {
  pass(0ms);
  serverSays(wire::kReady);
  serverSays(wire::kFormat);
  EXPECT_FALSE(session_.onSound(now_, measure::SampleFormat::kFloat32));
  passWithSound(1s);
  for (const auto* forged : {"<<BUSY>>", "<<FORMAT:SR=8000>>", "<<STOP>>", "<<PONG>>", ""}) {
    serverSays(forged);
  }
  EXPECT_FALSE(session_.onSound(now_, measure::SampleFormat::kFloat32));
  EXPECT_EQ(session_.state(), kJoined);
}

TEST_F(Session, EndsWhenTheServerIsFull) {
  pass(100ms);
  serverSays("<<BUSY>>");
  EXPECT_EQ(session_.state(), kRefused);
  serverSays("<<READY>>");
  session_.onSound(now_);
  EXPECT_EQ(session_.state(), kRefused);
  sent();
  pass(10s);
  EXPECT_THAT(sent(), IsEmpty());
}

TEST_F(Session, WhoHasLeftIsNotRefused) {
  pass(100ms);
  sent();
  session_.leave();
  serverSays("<<BUSY>>");
  EXPECT_NE(session_.state(), kRefused);
  session_.leave();
  pass(100ms);
  EXPECT_THAT(sent(), ElementsAre(testing::EndsWith("<<STOP>>")));
}

TEST_F(Session, AsksAgainWhenTheSoundStaysAway) {
  pass(0ms);
  serverSays("<<READY>>");
  passWithSound(1s);
  sent();
  pass(7s);
  EXPECT_THAT(sent(),
              ElementsAre("3.0 <<PING>>", "4.0 <<HELLO>>", "6.0 <<PING>>", "7.0 <<HELLO>>"));
  EXPECT_EQ(session_.state(), kJoined);
  serverSays("<<BUSY>>");
  EXPECT_EQ(session_.state(), kRefused);
}

TEST_F(Session, MeasuresTheRoundTripOfAPing) {
  pass(0ms);
  serverSays("<<READY>>");
  serverSays("<<PONG>>");
  EXPECT_FALSE(session_.roundTrip());
  passWithSound(3s);
  pass(7ms);
  serverSays("<<PONG>>");
  EXPECT_EQ(session_.roundTrip(), 7ms);
}

}  // namespace
}  // namespace quorin::listen
