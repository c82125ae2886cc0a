#include "soak/soak_client.h"

#include "measure/sound_format.h"

#include <algorithm>

namespace quorin::soak {
namespace {

using namespace std::chrono_literals;
using State = listen::ClientSession::State;

constexpr auto kChunk = std::chrono::nanoseconds(20ms);

}  // namespace

void PacingHistogram::add(std::chrono::nanoseconds deviation) {
  deviation = std::chrono::abs(deviation);
  max_ = std::max(max_, deviation);
  const auto step =
      std::min<std::size_t>(static_cast<std::size_t>(deviation / kStep), steps_.size() - 1);
  ++steps_[step];
  ++count_;
}

double PacingHistogram::quantileMs(double fraction) const {
  const auto wanted = static_cast<std::uint64_t>(fraction * static_cast<double>(count_));
  std::uint64_t seen = 0;
  for (std::size_t i = 0; i < steps_.size(); ++i) {
    seen += steps_[i];
    if (seen > wanted) return static_cast<double>(i) * 0.01;
  }
  return maxMs();
}

SoakClient::SoakClient(unsigned seed, Experience& experience, TimePoint now)
    : plan_(seed), experience_(experience), comesAt_(now + plan_.absence()) {}

void SoakClient::goAway(TimePoint now) {
  socket_.reset();
  session_.reset();
  heardAt_.reset();
  comesAt_ = now + plan_.absence();
}

void SoakClient::startAnew(TimePoint now) {
  if (socket_) goAway(now);
}

void SoakClient::serve(TimePoint now, const std::optional<wire::Endpoint>& server, bool calm) {
  if (!socket_) {
    if (!server || now < comesAt_) return;
    auto socket = measure::StampedSocket::connectTo(*server);
    if (!socket) return goAway(now);
    socket_ = std::move(*socket);
    session_.emplace(now);
    goesAt_ = now + plan_.stay();
    ++experience_.joined;
  }
  listen(now, calm);
  if (session_->state() == State::kRefused || session_->state() == State::kUnanswered) {
    const bool refused = session_->state() == State::kRefused;
    ++(refused ? experience_.refused : experience_.unanswered);
    if (!refused && calm) ++experience_.unansweredUnexplained;
    return goAway(now);
  }
  if (now < goesAt_) return;
  const bool silently = plan_.leavesInSilence();
  ++(silently ? experience_.silent : experience_.left);
  if (!silently) {
    session_->leave();
    while (const auto message = session_->nextMessage(now)) socket_->send(*message);
  }
  goAway(now);
}

void SoakClient::listen(TimePoint now, bool calm) {
  calmSinceHeard_ = calmSinceHeard_ && calm;
  while (const auto datagram = socket_->receive()) {
    const auto bytes = datagram->bytes;
    if (measure::formatOfLength(bytes.size())) {
      session_->onSound(now);
      hear(datagram->arrived, calm);
    } else {
      session_->onMessage({reinterpret_cast<const char*>(bytes.data()), bytes.size()}, now);
    }
  }
  while (const auto message = session_->nextMessage(now)) socket_->send(*message);
}

void SoakClient::hear(measure::Nanoseconds arrived, bool calm) {
  ++experience_.chunks;
  if (heardAt_) {
    const auto interval = arrived - *heardAt_;
    if (calm && calmSinceHeard_) experience_.pacing.add(interval - kChunk);
    const auto missing = (interval + kChunk / 2) / kChunk - 1;
    if (missing > 0) {
      experience_.missing += static_cast<std::uint64_t>(missing);
      if (calm && calmSinceHeard_) {
        experience_.missingUnexplained += static_cast<std::uint64_t>(missing);
        experience_.longestUnexplained = std::max(experience_.longestUnexplained, interval);
      }
    }
  }
  heardAt_ = arrived;
  calmSinceHeard_ = calm;
}

}  // namespace quorin::soak
