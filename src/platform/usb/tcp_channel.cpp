#include "platform/usb/tcp_channel.h"

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

std::expected<PTAddress, std::error_code> peerOf(int socket) {
  sockaddr_in peer{};
  socklen_t size = sizeof peer;
  if (::getpeername(socket, reinterpret_cast<sockaddr*>(&peer), &size) != 0) {
    return std::unexpected(lastError());
  }
  return PTAddress::of(peer);
}

}  // namespace

TcpChannel::TcpChannel(FrameSender::Queues queues, std::weak_ptr<PTChannelDelegate> delegate)
    : queues_(queues), delegate_(std::move(delegate)) {}

TcpChannel::~TcpChannel() {
  if (state_ == State::kConnected) ::shutdown(socket_->get(), SHUT_RDWR);
}

// ---- Connecting

void TcpChannel::connectToPort(std::uint16_t port, PTUSBHub& hub, DeviceID device,
                               ConnectCallback callback) {
  assert(state_ == State::kNew);
  state_ = State::kConnecting;
  connected_ = std::move(callback);
  hub.connect(device, port,
              [weak = weak_from_this()](std::expected<posix::FileDescriptor, std::error_code> s) {
                const auto self = weak.lock();
                if (!self || self->state_ != State::kConnecting) return;
                if (s) *self->socket_ = std::move(*s);
                self->connectionMade(s ? std::error_code() : s.error());
              });
}

void TcpChannel::connectToPort(std::uint16_t port, IPv4Address address,
                               ConnectToAddressCallback callback) {
  assert(state_ == State::kNew);
  state_ = State::kConnecting;
  connected_ = [this, callback = std::move(callback)](std::error_code error) mutable {
    if (error) {
      callback(std::unexpected(error));
    } else {
      callback(peerOf(socket_->get()));
    }
  };
  if (const auto error = beginConnecting(PTAddress{.address = address, .port = port})) {
    queues_.main.async([weak = weak_from_this(), error] {
      if (const auto self = weak.lock()) self->connectionMade(error);
    });
  }
}

std::error_code TcpChannel::beginConnecting(const PTAddress& peer) {
  *socket_ =
      posix::FileDescriptor(::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  if (!*socket_) return lastError();
  const auto address = peer.socketAddress();
  const auto* generic = reinterpret_cast<const sockaddr*>(&address);
  if (::connect(socket_->get(), generic, sizeof address) != 0 && errno != EINPROGRESS) {
    return lastError();
  }
  auto answered = WritableSource::make(queues_.main, socket_, [weak = weak_from_this()] {
    if (const auto self = weak.lock()) self->connectionMade(pendingError(self->socket_->get()));
  });
  if (!answered) return answered.error();
  connecting_ = std::move(*answered);
  connecting_->arm();
  return {};
}

void TcpChannel::connectionMade(std::error_code error) {
  if (state_ != State::kConnecting) return;
  connecting_.reset();
  if (!error) error = open();
  state_ = error ? State::kEnded : State::kConnected;
  if (error) socket_->reset();
  std::exchange(connected_, nullptr)(error);
}

std::error_code TcpChannel::open() {
  const int yes = 1;
  ::setsockopt(socket_->get(), IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes);  // not over USB
  ::setsockopt(socket_->get(), SOL_SOCKET, SO_SNDBUF, &kSendBufferBytes, sizeof kSendBufferBytes);

  auto sender = FrameSender::make(queues_, socket_, weak_from_this());
  if (!sender) return sender.error();
  sender_ = std::move(*sender);
  readable_ = queues_.main.makeReadSource(socket_->get(), [weak = weak_from_this()] {
    if (const auto self = weak.lock()) self->receive();
  });
  return {};
}

// ---- Receiving

void TcpChannel::receive() {
  if (state_ != State::kConnected) return;
  const auto space = reader_.space();
  // What the analyzer takes for a lock is a weak pointer's.
  // NOLINTNEXTLINE(clang-analyzer-unix.BlockInCriticalSection)
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

void TcpChannel::deliverFrames() {
  while (state_ == State::kConnected) {
    const auto step = reader_.next();
    const auto delegate = delegate_.lock();
    if (const auto* header = std::get_if<FrameReader::Header>(&step)) {
      if (!delegate || !delegate->shouldAcceptFrame(*this, *header)) reader_.skip();
    } else if (const auto* frame = std::get_if<FrameReader::Frame>(&step)) {
      if (delegate) delegate->didReceiveFrame(*this, frame->header, frame->payload);
    } else if (const auto* error = std::get_if<FrameError>(&step)) {
      end(*error);
    } else {
      return;
    }
  }
}

// ---- Sending

void TcpChannel::sendFrameOfType(std::uint32_t type, std::uint32_t tag,
                                 std::span<const std::byte> payload, SendCallback callback) {
  const auto id = ++lastSend_;
  sends_[id] = std::move(callback);
  if (state_ == State::kConnected) {
    sender_->post(id, encodeFrame(type, tag, payload));
  } else {
    queues_.main.async([weak = weak_from_this(), id] {
      const auto self = weak.lock();
      if (self) self->frameWasWritten(id, std::make_error_code(std::errc::not_connected));
    });
  }
}

void TcpChannel::frameWasWritten(FrameOutbox::Id id, std::error_code error) {
  auto send = sends_.extract(id);
  if (!send.empty() && send.mapped()) send.mapped()(error);
}

void TcpChannel::writingFailed(std::error_code error) {
  // When the other end has gone, what it said before can still be read; reading finds the end.
  if (error == std::errc::broken_pipe || error == std::errc::connection_reset) return;
  end(error);
}

std::uint32_t TcpChannel::newTag() {
  if (++lastTag_ == 0) ++lastTag_;
  return lastTag_;
}

// ---- The end

void TcpChannel::end(std::error_code error) {
  if (state_ == State::kNew || state_ == State::kEnded) return;
  const bool wasConnected = std::exchange(state_, State::kEnded) == State::kConnected;
  connecting_.reset();
  readable_.reset();
  if (*socket_) ::shutdown(socket_->get(), SHUT_RDWR);

  queues_.main.async([self = shared_from_this(), error, wasConnected] {
    const auto cause = error ? error : std::make_error_code(std::errc::operation_canceled);
    if (self->connected_) std::exchange(self->connected_, nullptr)(cause);
    for (auto& [id, callback] : std::exchange(self->sends_, {})) {
      if (callback) callback(cause);
    }
    const auto delegate = self->delegate_.lock();
    if (wasConnected && delegate) delegate->didEndWithError(*self, error);
  });
}

// ---- Making them

namespace {

class TcpChannelFactory : public PTChannelFactory {
 public:
  explicit TcpChannelFactory(FrameSender::Queues queues) : queues_(queues) {}
  std::shared_ptr<PTChannel> channelWithDelegate(
      std::weak_ptr<PTChannelDelegate> delegate) override {
    return std::make_shared<TcpChannel>(queues_, std::move(delegate));
  }

 private:
  FrameSender::Queues queues_;
};

}  // namespace

std::unique_ptr<PTChannelFactory> makeTcpChannelFactory(dispatch::Scheduler& scheduler,
                                                        dispatch::Queue& sendQueue) {
  return std::make_unique<TcpChannelFactory>(
      FrameSender::Queues{.send = sendQueue, .main = scheduler.mainQueue()});
}

}  // namespace quorin::usb
