#include "panel/udp_socket.h"

#include "platform/network/interfaces.h"
#include "wire/control_message.h"

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <mutex>
#include <utility>

namespace quorin::panel {
namespace {

std::unexpected<SocketError> failure(int code, std::string description, std::error_code reason) {
  return std::unexpected(
      SocketError{code, std::move(description), reason.default_error_condition()});
}

}  // namespace

std::string SocketError::text() const {
  return "UDPSocket (" + std::to_string(code) + "): " + description + " (" + reason.message() + ")";
}

void DatagramSocket::send(std::string_view text, std::string_view key) {
  if (const auto address = resolveClientKey(key)) send(std::as_bytes(std::span(text)), *address);
}

std::optional<wire::Endpoint> resolveClientKey(std::string_view key) {
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

  wire::Endpoint endpoint;
  const auto [end, error] = std::from_chars(pieces[1].begin(), pieces[1].end(), endpoint.port);
  if (error != std::errc{} || end != pieces[1].end()) return std::nullopt;
  in_addr address{.s_addr = INADDR_ANY};
  ::inet_pton(AF_INET, std::string(pieces[0]).c_str(), &address);
  endpoint.address = ntohl(address.s_addr);
  return endpoint;
}

/// The main queue's end of the receive loop; texts delivered after the socket is destroyed are
/// dropped.
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
  auto opened = network::DatagramSocket::open();
  if (!opened) return failure(-1, "No se pudo crear socket", opened.error());
  const int fd = opened->descriptor();
  for (const int buffer : {SO_SNDBUF, SO_RCVBUF}) {
    ::setsockopt(fd, SOL_SOCKET, buffer, &kSocketBufferBytes, sizeof kSocketBufferBytes);
  }
  if (const auto error = opened->bind(port_)) return failure(-2, "No se pudo hacer bind", error);
  sockaddr_in own{};
  socklen_t length = sizeof own;
  if (::getsockname(fd, reinterpret_cast<sockaddr*>(&own), &length) == 0) {
    port_ = wire::Endpoint::of(own).port;
  }

  const std::unique_lock lock(socketMutex_);
  isListening_ = true;
  // `close` waits for the loop before it resets `socket_`.
  receiveQueue_->async([this, &socket = socket_.emplace(*std::move(opened))] {
    while (isListening_) receiveOnce(socket);
  });
  return {};
}

void UDPSocket::receiveOnce(const network::DatagramSocket& socket) {
  pollfd readable{.fd = socket.descriptor(), .events = POLLIN, .revents = 0};
  if (::poll(&readable, 1, static_cast<int>(kReceiveTimeout.count())) <= 0) return;
  std::array<char, kReceiveBytes> buffer;
  const auto received = socket.receive(buffer);
  if (!received) {
    const bool nothingCame = received.error() == std::errc::resource_unavailable_try_again;
    if (!nothingCame) print_("⚠️ Error en recvfrom: " + received.error().message());
    return;
  }
  std::string text(buffer.data(), received->length);
  if (text.empty() || !wire::isValidUtf8(text) || !canBePhone(received->source)) return;
  deliver(std::move(text), received->source.text());
}

bool UDPSocket::canBePhone(const wire::Endpoint& source) const {
  const auto firstByte = source.address >> 24U;
  if (source.port == 0 || firstByte == 0 || firstByte >= 224) return false;
  if (source.port != port_) return true;
  if (firstByte == 127) return false;
  const auto own = network::listInterfaceAddresses();
  return own && std::ranges::none_of(*own, [&source](const auto& interface) {
           return interface.subnet.address == source.address;
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

void UDPSocket::send(std::span<const std::byte> bytes, const wire::Endpoint& address) {
  const std::shared_lock lock(socketMutex_);
  // The system chooses the source address. A chunk that it cannot take now is lost.
  if (socket_) (void)socket_->sendTo(address, INADDR_ANY, bytes);
}

void UDPSocket::close() {
  isListening_ = false;
  {
    // Wakes the receive loop at once, although it fails with ENOTCONN on a socket without a peer.
    const std::shared_lock lock(socketMutex_);
    if (socket_) ::shutdown(socket_->descriptor(), SHUT_RDWR);
  }
  receiveQueue_->end();
  const std::unique_lock lock(socketMutex_);
  socket_.reset();
}

std::shared_ptr<DatagramSocket> makeUDPSocket(dispatch::Scheduler& scheduler, std::uint16_t port) {
  return std::make_shared<UDPSocket>(scheduler, port, log::print);
}

}  // namespace quorin::panel
