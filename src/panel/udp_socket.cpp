#include "panel/udp_socket.h"

#include "core/log.h"
#include "wire/client_key.h"
#include "wire/control_message.h"

#include <arpa/inet.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <optional>
#include <system_error>
#include <utility>

namespace quorin::panel {
namespace {

/// Datagrams handed to the main queue and not yet handled; more are dropped, so that a flood
/// costs no memory.
constexpr int kMostWaiting = 1024;

/// The most that the system takes (UIO_MAXIOV).
constexpr std::size_t kDatagramsPerCall = 1024;

std::string systemText(int errorNumber) {
  return std::generic_category().message(errorNumber);
}

sockaddr* generic(sockaddr_in& address) {
  return reinterpret_cast<sockaddr*>(&address);
}

void setOption(int fd, int option, int value) {
  ::setsockopt(fd, SOL_SOCKET, option, &value, sizeof value);
}

// Without waiting: a chunk that the system cannot take now is lost, the next one is not late.
constexpr int kSendFlags = MSG_DONTWAIT | MSG_NOSIGNAL;

void sendOne(int fd, std::span<const std::byte> bytes, const sockaddr_in& address) {
  ::sendto(fd, bytes.data(), bytes.size(), kSendFlags, reinterpret_cast<const sockaddr*>(&address),
           sizeof address);
}

/// Sends one call's worth; returns how many datagrams that settled, sent or refused.
std::size_t sendSome(int fd, std::span<const std::byte> bytes,
                     std::span<const sockaddr_in> addresses) {
  // The system only reads what it is to send and where.
  iovec payload{.iov_base = const_cast<std::byte*>(bytes.data()), .iov_len = bytes.size()};
  std::array<mmsghdr, kDatagramsPerCall> messages;
  const std::size_t count = std::min(addresses.size(), messages.size());
  for (std::size_t i = 0; i < count; ++i) {
    messages[i] = {};
    auto& header = messages[i].msg_hdr;
    header.msg_name = const_cast<sockaddr_in*>(&addresses[i]);
    header.msg_namelen = sizeof(sockaddr_in);
    header.msg_iov = &payload;
    header.msg_iovlen = 1;
  }
  const int sent = ::sendmmsg(fd, messages.data(), static_cast<unsigned>(count), kSendFlags);
  // The call ends before the first datagram that is refused, and fails when that is the first of
  // all: it is skipped, the others have nothing to do with it.
  return sent > 0 ? static_cast<std::size_t>(sent) : 1;
}

}  // namespace

std::string SocketError::text() const {
  return "UDPSocket (" + std::to_string(code) + "): " + description + " (" + reason + ")";
}

std::optional<sockaddr_in> resolveClientKey(std::string_view key) {
  std::array<std::string_view, 2> pieces;
  std::size_t count = 0;
  while (!key.empty()) {
    const auto piece = key.substr(0, key.find(':'));
    key.remove_prefix(std::min(piece.size() + 1, key.size()));
    if (piece.empty()) continue;
    if (count == pieces.size()) return std::nullopt;
    pieces[count++] = piece;
  }
  if (count != pieces.size()) return std::nullopt;

  std::uint16_t port = 0;
  const auto [end, error] = std::from_chars(pieces[1].begin(), pieces[1].end(), port);
  if (error != std::errc{} || end != pieces[1].end()) return std::nullopt;

  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  if (::inet_pton(AF_INET, std::string(pieces[0]).c_str(), &address.sin_addr) != 1) {
    address.sin_addr.s_addr = INADDR_ANY;
  }
  return address;
}

/// The main queue's end of the receive loop; what arrives after the socket has gone finds none.
struct UDPSocket::Inbox {
  MessageHandler onMessageReceived;  ///< main queue
  std::atomic<int> waiting = 0;
};

UDPSocket::UDPSocket(dispatch::Scheduler& scheduler, std::uint16_t port, log::PrintLine print)
    : scheduler_(scheduler),
      print_(std::move(print)),
      port_(port),
      inbox_(std::make_shared<Inbox>()),
      receiveQueue_(scheduler.makeSerialQueue("com.audioserver.udp")) {}

UDPSocket::~UDPSocket() {
  close();
}

void UDPSocket::setOnMessageReceived(MessageHandler handler) {
  inbox_->onMessageReceived = std::move(handler);
}

int UDPSocket::socket() const {
  const dispatch::SharedLock lock(descriptorMutex_);
  return socket_.get();
}

std::expected<void, SocketError> UDPSocket::start() {
  posix::FileDescriptor fd(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, IPPROTO_UDP));
  if (!fd) return std::unexpected(SocketError{-1, "No se pudo crear socket", systemText(errno)});

  // No SO_REUSEADDR: on Linux two servers with it would share the port without a word, and all
  // phones would talk to the later one.
  setOption(fd.get(), SO_SNDBUF, kSocketBufferBytes);
  setOption(fd.get(), SO_RCVBUF, kSocketBufferBytes);
  const timeval timeout{.tv_sec = kReceiveTimeoutSeconds, .tv_usec = 0};
  ::setsockopt(fd.get(), SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);

  auto address = wire::ClientKey{.address = INADDR_ANY, .port = port_}.socketAddress();
  socklen_t length = sizeof address;
  if (::bind(fd.get(), generic(address), length) != 0) {
    return std::unexpected(SocketError{-2, "No se pudo hacer bind", systemText(errno)});
  }
  if (::getsockname(fd.get(), generic(address), &length) == 0) port_ = ntohs(address.sin_port);

  const dispatch::Lock lock(descriptorMutex_);
  socket_ = std::move(fd);
  startReceiving();
  return {};
}

void UDPSocket::startReceiving() {
  isListening_ = true;
  receiveQueue_->async([this] {
    while (isListening_) receiveOnce();
  });
}

void UDPSocket::receiveOnce() {
  std::array<char, kReceiveBytes> buffer;
  sockaddr_in source{};
  socklen_t length = sizeof source;
  ssize_t received = 0;
  {
    const dispatch::SharedLock lock(descriptorMutex_);
    if (!socket_) return;
    received = ::recvfrom(socket_.get(), buffer.data(), buffer.size(), 0, generic(source), &length);
  }
  if (received == 0) return;
  if (received < 0) {
    const bool nothingCame = errno == EAGAIN || errno == EINTR;
    if (!nothingCame) print_("⚠️ Error en recvfrom: " + systemText(errno));
    return;
  }
  std::string text(buffer.data(), static_cast<std::size_t>(received));
  if (!wire::isValidUtf8(text)) return;
  deliver(std::move(text), wire::ClientKey::of(source).text());
}

void UDPSocket::deliver(std::string text, std::string key) {
  if (inbox_->waiting >= kMostWaiting) return;
  ++inbox_->waiting;
  scheduler_.mainQueue().async(
      [weak = std::weak_ptr(inbox_), text = std::move(text), key = std::move(key)] {
        const auto inbox = weak.lock();
        if (!inbox) return;
        --inbox->waiting;
        if (inbox->onMessageReceived) inbox->onMessageReceived(text, key);
      });
}

void UDPSocket::send(std::span<const std::byte> bytes, std::string_view key) {
  if (const auto address = resolveClientKey(key)) sendToAll(bytes, {&*address, 1});
}

void UDPSocket::send(std::string_view text, std::string_view key) {
  send(std::as_bytes(std::span(text)), key);
}

void UDPSocket::sendToAll(std::span<const std::byte> bytes,
                          std::span<const sockaddr_in> addresses) {
  while (!addresses.empty()) {
    const dispatch::SharedLock lock(descriptorMutex_);
    if (!socket_) return;
    // For a single one, the most common case, the plain call costs almost a tenth less.
    if (addresses.size() == 1) return sendOne(socket_.get(), bytes, addresses.front());
    addresses = addresses.subspan(sendSome(socket_.get(), bytes, addresses));
  }
}

void UDPSocket::close() {
  isListening_ = false;
  {
    // Wakes the receive loop at once, though the socket has no peer and the call says so.
    const dispatch::SharedLock lock(descriptorMutex_);
    if (socket_) ::shutdown(socket_.get(), SHUT_RDWR);
  }
  const dispatch::Lock lock(descriptorMutex_);
  socket_.reset();
}

std::shared_ptr<DatagramSocket> makeUDPSocket(dispatch::Scheduler& scheduler, std::uint16_t port) {
  return std::make_shared<UDPSocket>(scheduler, port, log::print);
}

}  // namespace quorin::panel
