#pragma once

#include <chrono>
#include <optional>
#include <string_view>

namespace quorin::listen {

using TimePoint = std::chrono::steady_clock::time_point;

/// The client's side of the protocol: which message to send when, and what the answers mean.
/// Pure: the caller asks for messages and hands in what it received, each with the time.
class ClientSession {
 public:
  enum class State {
    kJoining,     ///< has asked, waits for the answer
    kJoined,      ///< registered, as far as one can know
    kRefused,     ///< the server is full
    kUnanswered,  ///< nobody answered for `kAnswerTimeout`
    kLeft,
  };

  static constexpr std::chrono::seconds kAnswerTimeout{3};
  /// A datagram may be lost: a HELLO without an answer is repeated this often.
  static constexpr std::chrono::seconds kHelloInterval{1};
  /// A server drops a client that is silent for more than 8 s; two lost PINGs do no harm.
  static constexpr std::chrono::seconds kPingInterval{3};
  /// A server that was restarted has forgotten its clients and says nothing: after this long
  /// without sound the session asks to join again, and again each time as long.
  static constexpr std::chrono::seconds kRejoinAfter{3};

  explicit ClientSession(TimePoint now);

  State state() const { return state_; }

  /// What to send now; ask until there is nothing.
  std::optional<std::string_view> nextMessage(TimePoint now);

  /// When `nextMessage` or the state may change by time alone.
  TimePoint nextDeadline() const;

  /// A control message, as it stood in its datagram. Others are ignored.
  void onMessage(std::string_view text, TimePoint now);
  void onSound(TimePoint now);

  /// Makes STOP the last message, if the server may know this client at all.
  void leave();

  /// Between the latest answered PING and its PONG.
  std::optional<std::chrono::nanoseconds> roundTrip() const { return roundTrip_; }

 private:
  void join(TimePoint now);

  State state_ = State::kJoining;
  bool stopDue_ = false;
  TimePoint giveUpAt_;
  TimePoint helloAt_;
  TimePoint pingAt_;
  std::optional<TimePoint> pingSent_;
  std::optional<std::chrono::nanoseconds> roundTrip_;
};

}  // namespace quorin::listen
