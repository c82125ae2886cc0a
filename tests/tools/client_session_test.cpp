#include "quorin-listen/client_session.h"

#include "wire/control_message.h"

#include <gmock/gmock.h>

#include <cmath>
#include <string>
#include <vector>

namespace quorin::listen {
namespace {

using namespace std::chrono_literals;
using enum ClientSession::State;

constexpr const char* kOtherFormat = "<<FORMAT:SR=48000,DEPTH=16,ENDIAN=LITTLE,CH=1,CHUNK=882>>";

/// A session in simulated time: a script of what comes, and what it sent, with the time in
/// seconds. "sound 6.5" is sound every 20 ms for so long, "6.5" that time without any.
TEST(Session, JoinsKeepsAliveAndEndsAsTheAnswersSay) {
  using Words = std::vector<std::string>;
  const std::string format(wire::kFormat);
  const struct {
    const char* name;
    Words script, sent;
    ClientSession::State state;
    bool isInOrder;
  } cases[] = {
      {"joins, keeps alive, leaves",
       {"0.1", "<<READY>>", format, "sound 6.5", "leave", "20"},
       {"0.0 <<HELLO>>", "3.1 <<PING>>", "6.1 <<PING>>", "6.6 <<STOP>>"},
       kLeft,
       true},
      {"nobody answers",
       {"12"},
       {"0.0 <<HELLO>>", "1.0 <<HELLO>>", "2.0 <<HELLO>>"},
       kUnanswered,
       true},
      {"asks again when the sound stays away",
       {"<<READY>>", format, "sound 1", "7"},
       {"0.0 <<HELLO>>", "3.0 <<PING>>", "4.0 <<HELLO>>", "6.0 <<PING>>", "7.0 <<HELLO>>"},
       kJoined,
       true},
      {"full", {"<<BUSY>>", "<<READY>>", "sound 0.02", "5"}, {"0.0 <<HELLO>>"}, kRefused, true},
      {"left before the answer",
       {"leave", "<<BUSY>>"},
       {"0.0 <<HELLO>>", "0.0 <<STOP>>"},
       kLeft,
       true},
      {"forged messages end no stream",
       {"<<READY>>", format, "sound 1", "<<BUSY>>", "<<FORMAT:SR=8000>>", "<<STOP>>", "<<PONG>>"},
       {"0.0 <<HELLO>>"},
       kJoined,
       true},
      {"unknown format", {"<<READY>>", kOtherFormat}, {"0.0 <<HELLO>>"}, kStrangeFormat, true},
      {"sound before READY", {"sound 0.02", "<<READY>>"}, {"0.0 <<HELLO>>"}, kJoined, false},
      {"format before READY",
       {format, "<<READY>>", "sound 0.02"},
       {"0.0 <<HELLO>>"},
       kJoined,
       false},
      {"sound before the format",
       {"<<READY>>", "sound 0.02", format},
       {"0.0 <<HELLO>>"},
       kJoined,
       false},
  };
  for (const auto& row : cases) {
    TimePoint now{};
    ClientSession session(now);
    Words sent;
    const auto collect = [&] {
      while (const auto message = session.nextMessage(now)) {
        const auto tenths =
            std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() /
            100;
        sent.push_back(std::to_string(tenths / 10) + "." + std::to_string(tenths % 10) + " " +
                       std::string(*message));
      }
    };
    const auto pass = [&](double seconds) {
      const auto until = now + std::chrono::milliseconds(std::lround(seconds * 1000));
      collect();
      while (session.nextDeadline() <= until) {
        now = std::max(now, session.nextDeadline());
        collect();
      }
      now = until;
    };
    pass(0);
    for (const auto& step : row.script) {
      if (step.starts_with("<<")) {
        session.onMessage(step, now);
      } else if (step == "leave") {
        session.leave();
      } else if (step.starts_with("sound")) {
        for (double left = std::stod(step.substr(6)); left > 0.01; left -= 0.02) {
          pass(0.02);
          session.onSound(now);
        }
      } else {
        pass(std::stod(step));
      }
    }
    collect();
    EXPECT_EQ(sent, row.sent) << row.name;
    EXPECT_EQ(session.state(), row.state) << row.name;
    if (row.state == kJoined) {
      EXPECT_EQ(session.answeredInOrder(), row.isInOrder) << row.name;
    }
  }
}

}  // namespace
}  // namespace quorin::listen
