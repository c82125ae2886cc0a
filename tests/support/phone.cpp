#include "support/phone.h"

#include "measure/sound_format.h"
#include "support/sine_fit.h"

#include <QCoreApplication>
#include <algorithm>
#include <thread>

namespace quorin::test {

Phone::Phone(const std::string& server, const std::string& own)
    : socket_(measure::StampedSocket::connectTo(
                  {.address = wire::parseAddress(server).value(), .port = kServerPort},
                  {.address = wire::parseAddress(own).value(), .port = 0})
                  .value()) {}

void Phone::turn() {
  while (const auto datagram = socket_.receive()) {
    const auto bytes = datagram->bytes;
    if (bytes.size() == measure::kInt16Bytes) {
      arrivals.push_back(datagram->arrived);
      const auto samples = measure::decode(bytes, measure::SampleFormat::kInt16);
      sound.insert(sound.end(), samples.begin(), samples.end());
    } else {
      messages.emplace_back(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    }
  }
}

std::size_t Phone::heardWithin(std::chrono::seconds duration) const {
  return static_cast<std::size_t>(std::ranges::count_if(
      arrivals, [&](auto arrival) { return arrival - arrivals.front() < duration; }));
}

double Phone::level(double hertz, std::size_t chunks) const {
  const auto samples = chunks * wire::kChunkFrames;
  if (sound.size() < samples) return 0;
  return fitSine(std::span(sound).last(samples), hertz, wire::kSampleRate).level;
}

bool TurnLoop::until(const std::function<bool()>& condition, std::chrono::milliseconds limit) {
  const auto end = std::chrono::steady_clock::now() + limit;
  for (;;) {
    QCoreApplication::processEvents();
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
    for (auto& phone : phones) phone->turn();
    onTurn();
    if (condition()) return true;
    if (std::chrono::steady_clock::now() >= end) return false;
  }
}

void TurnLoop::runFor(std::chrono::milliseconds duration) {
  until([] { return false; }, duration);
}

}  // namespace quorin::test
