#include "platform/usb/channel.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <cassert>
#include <cerrno>
#include <utility>

namespace quorin::usb {
namespace {

/// The system keeps twice as much, of which its own bookkeeping takes a part: room for about
/// 150 ms of sound. What a phone does not read must wait in the outbox, where it can be dropped.
constexpr int kSendBufferBytes = 16 * 1024;

std::error_code lastError() {
  return {errno, std::system_category()};
}

std::error_code pendingError(int socket) {
  int number = 0;
  socklen_t size = sizeof number;
  ::getsockopt(socket, SOL_SOCKET, SO_ERROR, &number, &size);
  return {number, std::system_category()};
}

}  // namespace

// The sender may hold the socket for a little longer.
PTChannel::~PTChannel() {
  if (*socket_) ::shutdown(socket_->get(), SHUT_RDWR);
}

// ---- Connecting

void PTChannel::connectToPort(std::uint16_t port, PTUSBHub& hub, DeviceID device,
                              ConnectCallback callback) {
  assert(state_ == State::kNew);
  state_ = State::kConnecting;
  connected_ = std::move(callback);
  throughHub_ = hub.connect(device, port, [this](auto socket) {
    if (socket) *socket_ = std::move(*socket);
    connectionMade(socket ? std::error_code() : socket.error());
  });
}

void PTChannel::connectToPort(std::uint16_t port, IPv4Address address, ConnectCallback callback) {
  assert(state_ == State::kNew);
  state_ = State::kConnecting;
  connected_ = std::move(callback);
  if (const auto error = beginConnecting(port, address)) {
    queues_.main.async(scope_, [this, error] { connectionMade(error); });
  }
}

std::error_code PTChannel::beginConnecting(std::uint16_t port, IPv4Address host) {
  *socket_ =
      posix::FileDescriptor(::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  if (!*socket_) return lastError();
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(host);
  const auto* generic = reinterpret_cast<const sockaddr*>(&address);
  if (::connect(socket_->get(), generic, sizeof address) != 0 && errno != EINPROGRESS) {
    return lastError();
  }
  connecting_ = std::make_unique<WritableSource>(
      queues_.main, socket_, [this] { connectionMade(pendingError(socket_->get())); });
  return connecting_->arm();
}

void PTChannel::connectionMade(std::error_code error) {
  if (state_ != State::kConnecting) return;
  throughHub_.reset();
  connecting_.reset();
  if (!error) open();
  state_ = error ? State::kEnded : State::kConnected;
  std::exchange(connected_, nullptr)(error);  // may destroy this
}

void PTChannel::open() {
  const int yes = 1;
  ::setsockopt(socket_->get(), IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes);  // not over USB
  ::setsockopt(socket_->get(), SOL_SOCKET, SO_SNDBUF, &kSendBufferBytes, sizeof kSendBufferBytes);

  sender_ = FrameSender::make(queues_, socket_, scope_.bind([this](std::error_code error) {
    // When the other end has gone, what it said before can still be read; reading finds the end.
    if (error != std::errc::broken_pipe && error != std::errc::connection_reset) end(error);
  }));
  readable_ = queues_.main.makeReadSource(socket_->get(), [this] { receive(); });
}

// ---- Receiving

void PTChannel::receive() {
  if (state_ != State::kConnected) return;
  const auto space = reader_.space();
  const auto count = ::recv(socket_->get(), space.data(), space.size(), MSG_DONTWAIT);
  if (count > 0) {
    reader_.received(static_cast<std::size_t>(count));
    deliverFrames();
  } else if (count == 0) {
    end({});
  } else if (errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR) {
    end(lastError());
  }
}

void PTChannel::deliverFrames() {
  using wire::FrameReader;
  while (state_ == State::kConnected) {
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
  auto answer = scope_.bind(std::move(callback));
  if (state_ == State::kConnected) {
    sender_->post(wire::encodeFrame(type, tag, payload), std::move(answer));
  } else {
    queues_.main.async([answer = std::move(answer)]() mutable {
      answer(std::make_error_code(std::errc::not_connected));
    });
  }
}

// ---- The end

void PTChannel::end(std::error_code error) {
  if (state_ != State::kConnected) return;
  state_ = State::kEnded;
  readable_.reset();
  ::shutdown(socket_->get(), SHUT_RDWR);
  queues_.main.async(scope_, [this, error] { delegate_.didEndWithError(*this, error); });
}

}  // namespace quorin::usb
