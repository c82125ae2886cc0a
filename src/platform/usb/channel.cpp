#include "platform/usb/channel.h"

#include "wire/endpoint.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <span>
#include <utility>

namespace quorin::usb {
namespace {

/// The kernel doubles this and uses part of it for bookkeeping: room for about 150 ms of sound.
/// Further unread data waits in the outbox, where it can be dropped.
constexpr int kSendBufferBytes = 16 * 1024;

constexpr std::size_t kReceiveBytes = 32 * 1024;

/// A connection on this machine is made, or refused, within microseconds.
constexpr std::chrono::milliseconds kConnectPoll{10};

std::error_code systemError(int number) {
  return {number, std::system_category()};
}

}  // namespace

// Shut down explicitly: the sender may still hold the socket.
PTChannel::~PTChannel() {
  if (*socket_) ::shutdown(socket_->get(), SHUT_RDWR);
}

// ---- Connecting

void PTChannel::connectToPort(std::uint16_t port, PTUSBHub& hub, DeviceID device,
                              ConnectCallback callback) {
  connected_ = std::move(callback);
  throughHub_ = hub.connect(device, port, [this](auto socket) {
    if (socket) *socket_ = std::move(*socket);
    connectionMade(socket ? std::error_code() : socket.error());
  });
}

void PTChannel::connectToPort(std::uint16_t port, IPv4Address address, ConnectCallback callback) {
  connected_ = std::move(callback);
  *socket_ =
      posix::FileDescriptor(::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  connecting_ = queues_.main.makeTimer(
      {.interval = kConnectPoll},
      [this, peer = wire::Endpoint{.address = address, .port = port}.socketAddress()] {
        const auto* generic = reinterpret_cast<const sockaddr*>(&peer);
        const bool isMade = ::connect(socket_->get(), generic, sizeof peer) == 0;
        if (!isMade && (errno == EINPROGRESS || errno == EALREADY)) return;
        connectionMade(systemError(isMade ? 0 : *socket_ ? errno : EMFILE));
      });
}

void PTChannel::connectionMade(std::error_code error) {
  throughHub_.reset();
  connecting_.reset();
  if (!error) open();
  std::exchange(connected_, nullptr)(error);  // may destroy this
}

void PTChannel::open() {
  const int yes = 1;
  ::setsockopt(socket_->get(), IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes);  // not over USB
  ::setsockopt(socket_->get(), SOL_SOCKET, SO_SNDBUF, &kSendBufferBytes, sizeof kSendBufferBytes);

  const auto didFail = [this](std::error_code error) {
    // After the peer closed, its last data can still be read; the read side then reports the end.
    if (error != std::errc::broken_pipe && error != std::errc::connection_reset) end(error);
  };
  sender_ = std::make_shared<FrameSender>(queues_, socket_, scope_.bind(didFail));
  readable_ = queues_.main.makeReadSource(socket_->get(), [this] { receive(); });
}

// ---- Receiving

void PTChannel::receive() {
  std::array<std::byte, kReceiveBytes> buffer;
  const auto count = ::recv(socket_->get(), buffer.data(), buffer.size(), MSG_DONTWAIT);
  if (count > 0) {
    reader_.received(std::span(buffer).first(static_cast<std::size_t>(count)));
    deliverFrames();
  } else if (count == 0) {
    end({});
  } else if (errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR) {
    end(systemError(errno));
  }
}

void PTChannel::deliverFrames() {
  using wire::FrameReader;
  while (readable_) {
    const auto step = reader_.next();
    if (const auto* header = std::get_if<FrameReader::Header>(&step)) {
      if (!delegate_.shouldAcceptFrame(*this, *header)) reader_.skip();
    } else if (const auto* frame = std::get_if<FrameReader::Frame>(&step)) {
      delegate_.didReceiveFrame(*this, frame->header, frame->payload);
    } else if (std::holds_alternative<FrameReader::Broken>(step)) {
      end(std::make_error_code(std::errc::protocol_error));
    } else {
      return;
    }
  }
}

// ---- Sending

void PTChannel::sendFrameOfType(std::uint32_t type, std::uint32_t tag,
                                std::span<const std::byte> payload, FrameSender::Written callback) {
  sender_->post(wire::encodeFrame(type, tag, payload), scope_.bind(std::move(callback)));
}

// ---- The end

void PTChannel::end(std::error_code error) {
  if (!readable_) return;
  readable_.reset();
  ::shutdown(socket_->get(), SHUT_RDWR);
  queues_.main.async(scope_, [this, error] { delegate_.didEndWithError(*this, error); });
}

}  // namespace quorin::usb
