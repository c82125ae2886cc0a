#include "support/fake_phone.h"

#include "wire/frame.h"

#include <netinet/in.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <stdexcept>
#include <utility>

namespace quorin::test {

FakePhone::FakePhone(posix::FileDescriptor socket) : socket_(std::move(socket)) {}

void FakePhone::turn() {
  std::array<std::byte, 65536> buffer;
  while (socket_ && !sawEnd) {
    const auto count = ::recv(socket_.get(), buffer.data(), buffer.size(), MSG_DONTWAIT);
    if (count < 0 && (errno == EAGAIN || errno == EINTR)) return;
    sawEnd = count <= 0;
    const auto received = std::span(buffer).first(sawEnd ? 0 : static_cast<std::size_t>(count));
    stream.insert(stream.end(), received.begin(), received.end());
    for (auto rest = std::span<const std::byte>(received); !rest.empty();) {
      const auto space = reader_.space();
      const auto part = rest.first(std::min(space.size(), rest.size()));
      std::copy(part.begin(), part.end(), space.begin());
      reader_.received(part.size());
      rest = rest.subspan(part.size());
      for (auto step = reader_.next(); step.index() != 0; step = reader_.next()) {
        if (const auto* frame = std::get_if<wire::FrameReader::Frame>(&step)) {
          frames.push_back({frame->header.type, frame->header.tag, toBytes(frame->payload)});
        }
        sawBrokenFrame = sawBrokenFrame || std::holds_alternative<wire::FrameReader::Broken>(step);
        if (sawBrokenFrame) break;
      }
    }
  }
}

void FakePhone::send(std::uint32_t type, std::uint32_t tag, const Bytes& payload) {
  sendBytes(wire::encodeFrame(type, tag, payload));
}

void FakePhone::sendBytes(std::span<const std::byte> bytes) {
  while (!bytes.empty()) {
    const auto count = ::send(socket_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (count < 0) return;
    bytes = bytes.subspan(static_cast<std::size_t>(count));
  }
}

void FakePhone::reset() {
  const linger now{.l_onoff = 1, .l_linger = 0};
  ::setsockopt(socket_.get(), SOL_SOCKET, SO_LINGER, &now, sizeof now);
  hangUp();
}

PhoneListener::PhoneListener(std::uint16_t port)
    : socket_(::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0)) {
  const int yes = 1;
  ::setsockopt(socket_.get(), SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  if (::bind(socket_.get(), reinterpret_cast<sockaddr*>(&address), size) != 0 ||
      ::listen(socket_.get(), 8) != 0 ||
      ::getsockname(socket_.get(), reinterpret_cast<sockaddr*>(&address), &size) != 0) {
    throw std::runtime_error("the test's phone cannot listen");
  }
  port_ = ntohs(address.sin_port);
}

std::optional<FakePhone> PhoneListener::accept() {
  posix::FileDescriptor socket(::accept4(socket_.get(), nullptr, nullptr, SOCK_CLOEXEC));
  if (!socket) return std::nullopt;
  return FakePhone(std::move(socket));
}

}  // namespace quorin::test
