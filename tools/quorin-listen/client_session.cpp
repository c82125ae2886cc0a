#include "quorin-listen/client_session.h"

#include "wire/control_message.h"

#include <algorithm>
#include <utility>

namespace quorin::listen {

ClientSession::ClientSession(TimePoint now) : giveUpAt_(now + kAnswerTimeout), helloAt_(now) {}

std::optional<std::string_view> ClientSession::nextMessage(TimePoint now) {
  if (std::exchange(stopDue_, false)) return wire::kStop;
  if (state_ == State::kJoining && now >= giveUpAt_) state_ = State::kUnanswered;
  if (state_ != State::kJoining && state_ != State::kJoined) return std::nullopt;
  if (now >= helloAt_) {
    helloPending_ = true;
    helloAt_ = now + (state_ == State::kJoining ? kHelloInterval : kRejoinAfter);
    return wire::kHello;
  }
  if (state_ == State::kJoined && now >= pingAt_) {
    pingAt_ = now + kPingInterval;
    return wire::kPing;
  }
  return std::nullopt;
}

TimePoint ClientSession::nextDeadline() const {
  switch (state_) {
    case State::kJoining:
      return std::min(helloAt_, giveUpAt_);
    case State::kJoined:
      return std::min(helloAt_, pingAt_);
    default:
      return TimePoint::max();
  }
}

void ClientSession::onMessage(std::string_view text, TimePoint now) {
  const bool isWaiting = state_ == State::kJoining || state_ == State::kJoined;
  if (!isWaiting || !helloPending_) return;
  if (text == wire::kReady) {
    note("READY");
    join(now);
  } else if (text == wire::kBusy) {
    state_ = State::kRefused;
  } else if (text == wire::kFormat) {
    note("format");
    if (!format_) format_ = measure::SampleFormat::kInt16;
  } else if (text.starts_with("<<FORMAT:")) {
    strangeFormat_ = text;
    state_ = State::kStrangeFormat;
  }
}

bool ClientSession::onSound(TimePoint now, measure::SampleFormat format) {
  if (format_.value_or(format) != format) return false;
  format_ = format;
  note("sound");
  helloPending_ = false;
  join(now);  // sound without READY: the READY was lost
  if (state_ == State::kJoined) helloAt_ = now + kRejoinAfter;
  return true;
}

void ClientSession::note(std::string_view answer) {
  if (answers_.contains(answer)) return;
  if (!answers_.empty()) answers_ += ", ";
  answers_ += answer;
}

bool ClientSession::answeredInOrder() const {
  const bool announces = format_ != measure::SampleFormat::kFloat32;
  return answers_.empty() || answers_ == (announces ? "READY, format, sound" : "READY, sound");
}

void ClientSession::join(TimePoint now) {
  if (state_ != State::kJoining) return;
  state_ = State::kJoined;
  helloAt_ = now + kRejoinAfter;
  pingAt_ = now + kPingInterval;
}

void ClientSession::leave() {
  // A HELLO whose answer is still on its way may have registered us.
  stopDue_ |= state_ == State::kJoining || state_ == State::kJoined;
  state_ = State::kLeft;
}

}  // namespace quorin::listen
