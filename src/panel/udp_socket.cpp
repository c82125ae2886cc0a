#include "panel/udp_socket.h"

#include "platform/network/interfaces.h"
#include "wire/client_key.h"
#include "wire/control_message.h"

#include <arpa/inet.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <utility>

namespace quorin::panel {
namespace {

SocketError failure(int code, std::string description) {
  return {code, std::move(description), std::generic_category().default_error_condition(errno)};
}

sockaddr* generic(sockaddr_in& address) {
  return reinterpret_cast<sockaddr*>(&address);
}

}  // namespace

std::string SocketError::text() const {
  return "UDPSocket (" + std::to_string(code) + "): " + description + " (" + reason.message() + ")";
}

void DatagramSocket::send(std::string_view text, std::string_view key) {
  if (const auto address = resolveClientKey(key)) send(std::as_bytes(std::span(text)), *address);
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

/// The main queue's end of the receive loop; what arrives after the socket is gone finds none.
struct UDPSocket::Inbox {
  MessageHandler onMessageReceived;  ///< main queue
  std::atomic<int> pending = 0;
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

std::expected<void, SocketError> UDPSocket::start() {
  posix::FileDescriptor fd(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, IPPROTO_UDP));
  if (!fd) return std::unexpected(failure(-1, "No se pudo crear socket"));

  // No SO_REUSEADDR: on Linux two servers with it would share the port without a word, and all
  // phones would talk to the later one.
  const auto setOption = [&fd](int option, const auto& value) {
    ::setsockopt(fd.get(), SOL_SOCKET, option, &value, sizeof value);
  };
  setOption(SO_SNDBUF, kSocketBufferBytes);
  setOption(SO_RCVBUF, kSocketBufferBytes);
  setOption(SO_RCVTIMEO, timeval{.tv_sec = kReceiveTimeoutSeconds, .tv_usec = 0});

  auto address = wire::ClientKey{.address = INADDR_ANY, .port = port_}.socketAddress();
  socklen_t length = sizeof address;
  if (::bind(fd.get(), generic(address), length) != 0) {
    return std::unexpected(failure(-2, "No se pudo hacer bind"));
  }
  if (::getsockname(fd.get(), generic(address), &length) == 0) port_ = ntohs(address.sin_port);

  isListening_ = true;
  receiveQueue_->async([this, socket = fd.get()] {
    while (isListening_) receiveOnce(socket);
  });
  const dispatch::Lock lock(socketMutex_);
  socket_ = std::move(fd);
  return {};
}

void UDPSocket::receiveOnce(int fd) {
  std::array<char, kReceiveBytes> buffer;
  sockaddr_in source{};
  socklen_t length = sizeof source;
  const auto received = ::recvfrom(fd, buffer.data(), buffer.size(), 0, generic(source), &length);
  if (received == 0) return;
  if (received < 0) {
    const bool timedOut = errno == EAGAIN || errno == EINTR;
    if (!timedOut) print_("⚠️ Error en recvfrom: " + std::generic_category().message(errno));
    return;
  }
  std::string text(buffer.data(), static_cast<std::size_t>(received));
  if (!wire::isValidUtf8(text) || !canBePhone(source)) return;
  deliver(std::move(text), wire::ClientKey::of(source).text());
}

bool UDPSocket::canBePhone(const sockaddr_in& source) const {
  const auto [address, port] = wire::ClientKey::of(source);
  const auto firstByte = address >> 24U;
  if (port == 0 || firstByte == 0 || firstByte >= 224) return false;
  if (port != port_) return true;
  if (firstByte == 127) return false;
  const auto own = network::listInterfaceAddresses();
  return own && std::ranges::none_of(*own, [&source](const auto& interface) {
           return ::inet_addr(interface.address.c_str()) == source.sin_addr.s_addr;
         });
}

void UDPSocket::deliver(std::string text, std::string key) {
  if (inbox_->pending >= kMaxPending) return;
  ++inbox_->pending;
  scheduler_.mainQueue().async(
      [weak = std::weak_ptr(inbox_), text = std::move(text), key = std::move(key)] {
        const auto inbox = weak.lock();
        if (!inbox) return;
        --inbox->pending;
        if (inbox->onMessageReceived) inbox->onMessageReceived(text, key);
      });
}

void UDPSocket::send(std::span<const std::byte> bytes, const sockaddr_in& address) {
  const dispatch::SharedLock lock(socketMutex_);
  if (!socket_) return;
  // Without waiting: a chunk that the system cannot take now is lost, the next one is not late.
  ::sendto(socket_.get(), bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL,
           reinterpret_cast<const sockaddr*>(&address), sizeof address);
}

void UDPSocket::close() {
  isListening_ = false;
  {
    // Wakes the receive loop at once, though the socket has no peer and the call says so.
    const dispatch::SharedLock lock(socketMutex_);
    if (socket_) ::shutdown(socket_.get(), SHUT_RDWR);
  }
  receiveQueue_->end();
  const dispatch::Lock lock(socketMutex_);
  socket_.reset();
}

std::shared_ptr<DatagramSocket> makeUDPSocket(dispatch::Scheduler& scheduler, std::uint16_t port) {
  return std::make_shared<UDPSocket>(scheduler, port, log::print);
}

}  // namespace quorin::panel
