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
    helloAt_ = now + (state_ == State::kJoining ? kHelloInterval : kRejoinAfter);
    return wire::kHello;
  }
  if (state_ == State::kJoined && now >= pingAt_) {
    pingAt_ = now + kPingInterval;
    pingSent_ = now;
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
  if (text == wire::kReady) {
    join(now);
  } else if (text == wire::kBusy) {
    if (state_ == State::kJoining || state_ == State::kJoined) state_ = State::kRefused;
  } else if (text == wire::kPong && pingSent_) {
    roundTrip_ = now - *pingSent_;
    pingSent_.reset();
  }
}

void ClientSession::onSound(TimePoint now) {
  join(now);  // sound without READY: the READY was lost
  if (state_ == State::kJoined) helloAt_ = now + kRejoinAfter;
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
