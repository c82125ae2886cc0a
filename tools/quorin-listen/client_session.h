#pragma once

#include "measure/sound_format.h"

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace quorin::listen {

using TimePoint = std::chrono::steady_clock::time_point;

/// The client's side of the protocol: which message to send when, and what the answers mean.
/// Pure: the caller asks for messages and hands in what it received, each with the time.
class ClientSession {
 public:
  enum class State {
    kJoining,        ///< has asked, waits for the answer
    kJoined,         ///< registered, as far as one can know
    kRefused,        ///< the server is full
    kUnanswered,     ///< no answer for `kAnswerTimeout`
    kStrangeFormat,  ///< the server announced a format that is not the one we know
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

  /// A control message, as it stood in its datagram. Others are ignored, and so are answers to a
  /// HELLO that was not sent: a forged one does not end a stream.
  void onMessage(std::string_view text, TimePoint now);

  /// False for sound that is not of the stream's format (the announced one, else that of the first
  /// sound): it comes from another sender.
  bool onSound(TimePoint now, measure::SampleFormat format = measure::SampleFormat::kInt16);

  /// Makes STOP the last message, if the server may know this client at all.
  void leave();

  /// The server's answers in the order in which they first came: "READY, format, sound".
  const std::string& answers() const { return answers_; }
  /// False when one is missing or came too early; true before the first. The server of float
  /// samples announces no format.
  bool answeredInOrder() const;
  /// The format line of a server that is `kStrangeFormat`.
  const std::string& strangeFormat() const { return strangeFormat_; }

 private:
  void join(TimePoint now);
  void note(std::string_view answer);

  State state_ = State::kJoining;
  bool stopDue_ = false;
  bool helloPending_ = false;  ///< sent, and no sound came since
  std::string answers_;
  std::string strangeFormat_;
  std::optional<measure::SampleFormat> format_;
  TimePoint giveUpAt_;
  TimePoint helloAt_;
  TimePoint pingAt_;
};

}  // namespace quorin::listen
