#include "bench/handshake.h"

#include "measure/stamped_socket.h"
#include "wire/control_message.h"

#include <poll.h>

#include <string_view>
#include <thread>

namespace quorin::bench {
namespace {

using Clock = std::chrono::steady_clock;
using measure::StampedSocket;
using namespace std::chrono_literals;

constexpr auto kPatience = 3s;
/// Not a multiple of the 20 ms, so that every moment between two chunks is met.
constexpr auto kPause = 23ms;

std::string_view textOf(const measure::Datagram& datagram) {
  return {reinterpret_cast<const char*>(datagram.bytes.data()), datagram.bytes.size()};
}

/// How long until READY; a negative value when it does not come.
std::chrono::duration<float, std::milli> join(StampedSocket& phone) {
  const auto begin = Clock::now();
  phone.send(wire::kHello);
  pollfd watched{.fd = phone.descriptor(), .events = POLLIN, .revents = 0};
  while (Clock::now() < begin + kPatience) {
    ::poll(&watched, 1, 100);
    while (const auto datagram = phone.receive()) {
      if (textOf(*datagram) == wire::kReady) return Clock::now() - begin;
    }
  }
  return -1ms;
}

}  // namespace

std::expected<std::vector<float>, std::string> helloToReadyMs(const wire::Endpoint& server,
                                                              int tries, int others) {
  std::vector<StampedSocket> listening;
  for (int i = 0; i < others; ++i) {
    auto phone = StampedSocket::connectTo(server);
    if (!phone) return std::unexpected(phone.error());
    if (join(*phone) < 0ms) return std::unexpected("A phone was not let in.");
    listening.push_back(std::move(*phone));
  }
  std::vector<float> times;
  for (int i = 0; i < tries; ++i) {
    for (auto& phone : listening) {
      while (phone.receive()) continue;
      if (i % 50 == 0) phone.send(wire::kPing);
    }
    auto phone = StampedSocket::connectTo(server);
    if (!phone) return std::unexpected(phone.error());
    const auto time = join(*phone);
    if (time < 0ms) return std::unexpected("A phone was not answered.");
    times.push_back(time.count());
    phone->send(wire::kStop);
    std::this_thread::sleep_for(kPause);
  }
  for (auto& phone : listening) phone.send(wire::kStop);
  return times;
}

}  // namespace quorin::bench
