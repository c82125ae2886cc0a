#include "tools/stand_in_server.h"

#include "wire/client_key.h"
#include "wire/control_message.h"

#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <numbers>
#include <optional>
#include <system_error>

namespace quorin::test {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

std::array<float, 882> toneFrom(std::size_t frame) {
  std::array<float, 882> samples{};
  for (auto& sample : samples) {
    const double phase = 2 * std::numbers::pi * 440 * static_cast<double>(frame++) / 44100;
    sample = static_cast<float>(0.5 * std::sin(phase));
  }
  return samples;
}

}  // namespace

StandInServer::StandInServer(Manner manner)
    : manner_(manner), socket_(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
  const wire::ClientKey anyPort{.address = INADDR_LOOPBACK, .port = 0};
  auto address = anyPort.socketAddress();
  socklen_t size = sizeof address;
  if (::bind(socket_.get(), reinterpret_cast<const sockaddr*>(&address), size) != 0 ||
      ::getsockname(socket_.get(), reinterpret_cast<sockaddr*>(&address), &size) != 0) {
    throw std::system_error(errno, std::generic_category(), "stand-in server");
  }
  port_ = wire::ClientKey::of(address).port;
  thread_ = std::jthread([this](const std::stop_token& stop) { run(stop); });
}

StandInServer::~StandInServer() = default;

std::string StandInServer::address() const {
  return "127.0.0.1:" + std::to_string(port_);
}

std::vector<std::string> StandInServer::messages(const std::string& last) {
  const auto giveUp = Clock::now() + 5s;
  for (;;) {
    {
      const std::scoped_lock lock(mutex_);
      const bool complete = !messages_.empty() && messages_.back() == last;
      if (complete || Clock::now() > giveUp) return messages_;
    }
    std::this_thread::sleep_for(1ms);
  }
}

void StandInServer::run(const std::stop_token& stop) {
  std::optional<sockaddr_in> client;
  const auto send = [&](const void* bytes, std::size_t size, const sockaddr_in& to) {
    ::sendto(socket_.get(), bytes, size, 0, reinterpret_cast<const sockaddr*>(&to), sizeof to);
  };
  const auto reply = [&](std::string_view text, const sockaddr_in& to) {
    send(text.data(), text.size(), to);
  };
  std::size_t frame = 0;
  auto due = Clock::now();
  while (!stop.stop_requested()) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(due - Clock::now());
    pollfd watched{.fd = socket_.get(), .events = POLLIN, .revents = 0};
    if (left > 0ms && ::poll(&watched, 1, static_cast<int>(left.count())) == 1) {
      std::array<char, 128> text{};
      sockaddr_in from{};
      socklen_t size = sizeof from;
      const auto length = ::recvfrom(socket_.get(), text.data(), text.size(), 0,
                                     reinterpret_cast<sockaddr*>(&from), &size);
      const std::string message(text.data(),
                                static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
      const std::scoped_lock lock(mutex_);
      messages_.push_back(message);
      if (message == wire::kHello && manner_ == Manner::kIsFull) reply(wire::kBusy, from);
      if (message == wire::kHello && manner_ != Manner::kIsFull) {
        reply(wire::kReady, from);
        if (manner_ == Manner::kServes) reply(wire::kFormat, from);
        client = from;
      }
      if (message == wire::kPing) reply(wire::kPong, from);
      if (message == wire::kStop) client.reset();
      continue;
    }
    due += 20ms;
    if (!client) continue;
    const auto tone = toneFrom(frame);
    frame += tone.size();
    if (manner_ == Manner::kServesFloats) {
      send(tone.data(), sizeof tone, *client);
      continue;
    }
    std::array<std::int16_t, tone.size()> samples{};
    std::ranges::transform(tone, samples.begin(), [](float sample) {
      return static_cast<std::int16_t>(std::lround(32768 * sample));
    });
    send(samples.data(), sizeof samples, *client);
  }
}

}  // namespace quorin::test
