#include "support/fake_phone.h"

#include "wire/endpoint.h"

#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <array>
#include <cerrno>
#include <stdexcept>
#include <utility>

namespace quorin::test {

FakePhone::FakePhone(posix::FileDescriptor socket) : socket_(std::move(socket)) {}

void FakePhone::turn() {
  while (socket_ && !sawEnd && !sawBrokenFrame) {
    std::array<std::byte, 65536> buffer;
    const auto count = ::recv(socket_.get(), buffer.data(), buffer.size(), MSG_DONTWAIT);
    if (count < 0 && (errno == EAGAIN || errno == EINTR)) return;
    sawEnd = count <= 0;
    if (!sawEnd) reader_.received(std::span(buffer).first(static_cast<std::size_t>(count)));
    for (auto step = reader_.next(); step.index() != 0 && !sawBrokenFrame; step = reader_.next()) {
      if (const auto* frame = std::get_if<wire::FrameReader::Frame>(&step)) {
        frames.push_back({frame->header.type, frame->header.tag, toBytes(frame->payload)});
      }
      sawBrokenFrame = std::holds_alternative<wire::FrameReader::Broken>(step);
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

namespace {

posix::FileDescriptor listenOn(const sockaddr* address, socklen_t size) {
  posix::FileDescriptor socket(
      ::socket(address->sa_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  const int yes = 1;
  ::setsockopt(socket.get(), SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
  if (::bind(socket.get(), address, size) != 0 || ::listen(socket.get(), 8) != 0) {
    throw std::runtime_error("a stand-in cannot listen");
  }
  return socket;
}

}  // namespace

posix::FileDescriptor listenAt(std::uint16_t port) {
  const auto address = wire::Endpoint{INADDR_LOOPBACK, port}.socketAddress();
  return listenOn(reinterpret_cast<const sockaddr*>(&address), sizeof address);
}

posix::FileDescriptor listenAt(const std::filesystem::path& path) {
  ::unlink(path.c_str());
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path.string().copy(address.sun_path, sizeof address.sun_path - 1);
  return listenOn(reinterpret_cast<const sockaddr*>(&address), sizeof address);
}

posix::FileDescriptor acceptFrom(const posix::FileDescriptor& listener) {
  return posix::FileDescriptor(::accept4(listener.get(), nullptr, nullptr, SOCK_CLOEXEC));
}

}  // namespace quorin::test
