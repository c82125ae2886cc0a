#include "wifi/wifi_fixture.h"

#include "wire/control_message.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>

namespace quorin::wifi {
namespace {

constexpr wire::Endpoint loopback(std::uint16_t port) {
  return {.address = INADDR_LOOPBACK, .port = port};
}

posix::FileDescriptor boundSocket(sockaddr_in& own) {
  posix::FileDescriptor socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  own = loopback(0).socketAddress();
  socklen_t length = sizeof own;
  auto* address = reinterpret_cast<sockaddr*>(&own);
  if (::bind(socket.get(), address, length) != 0 ||
      ::getsockname(socket.get(), address, &length) != 0) {
    throw std::system_error(errno, std::system_category(), "a loopback socket");
  }
  return socket;
}

}  // namespace

std::uint16_t freePort() {
  sockaddr_in own{};
  const auto socket = boundSocket(own);
  return ntohs(own.sin_port);
}

Phone::Phone(std::uint16_t serverPort)
    : server_(loopback(serverPort).socketAddress()), socket_(boundSocket(own_)) {}

void Phone::says(std::string_view datagram) {
  const auto sent = ::sendto(socket_.get(), datagram.data(), datagram.size(), 0,
                             reinterpret_cast<const sockaddr*>(&server_), sizeof server_);
  ASSERT_EQ(sent, static_cast<ssize_t>(datagram.size()));
  awaitDelivery();
}

std::vector<std::string> Phone::hears() {
  awaitDelivery();
  return std::exchange(heard_, {});
}

// The loopback interface delivers in order: once a datagram to ourselves has come round, all that
// was sent before is delivered too.
void Phone::awaitDelivery() {
  const auto marker = "marker " + std::to_string(++markers_);
  ::sendto(socket_.get(), marker.data(), marker.size(), 0, reinterpret_cast<const sockaddr*>(&own_),
           sizeof own_);
  while (true) {
    pollfd readable{.fd = socket_.get(), .events = POLLIN, .revents = 0};
    ASSERT_EQ(::poll(&readable, 1, 5000), 1) << "the loopback interface delivers nothing";
    std::array<char, 65536> buffer;
    const auto length = ::recv(socket_.get(), buffer.data(), buffer.size(), 0);
    std::string datagram(buffer.data(), static_cast<std::size_t>(length));
    if (datagram == marker) return;
    heard_.push_back(std::move(datagram));
  }
}

void RecordingListener::onStartFailed(const StartFailure& failure) {
  static constexpr const char* kSteps[] = {"port", "socket", "bind"};
  std::string event = std::string("failed: ") + kSteps[static_cast<int>(failure.step)];
  if (failure.error != 0) event += std::string(" ") + ::strerrorname_np(failure.error);
  events.push_back(event);
}

wire::AudioChunk chunkOf(float value) {
  wire::AudioChunk chunk;
  chunk.fill(value);
  return chunk;
}

std::string datagramOf(std::int16_t value) {
  std::string datagram;
  for (std::size_t i = 0; i < wire::kChunkFrames; ++i) {
    datagram.push_back(static_cast<char>(value & 0xFF));
    datagram.push_back(static_cast<char>((value >> 8) & 0xFF));
  }
  return datagram;
}

Phone WifiTest::newClient() {
  auto phone = newPhone();
  phoneSays(phone, wire::kHello);
  EXPECT_EQ(phone.hears().size(), 2U);
  return phone;
}

}  // namespace quorin::wifi
