#include "panel/udp_socket.h"

#include "wire/text.h"

#include <netinet/in.h>
#include <sys/socket.h>

#include <array>
#include <utility>

namespace quorin::panel {

std::string SocketError::text() const {
  return "UDPSocket (" + std::to_string(code) + "): " + description + " (" + reason.message() + ")";
}

UDPSocket::UDPSocket(dispatch::Scheduler& scheduler, std::uint16_t port, log::PrintLine print,
                     MessageHandler onMessageReceived)
    : scheduler_(scheduler),
      port_(port),
      print_(std::move(print)),
      onMessageReceived_(std::move(onMessageReceived)),
      receiveQueue_(scheduler.makeSerialQueue("com.audioserver.udp")) {}

std::expected<void, SocketError> UDPSocket::start() {
  auto opened = network::DatagramSocket::open();
  if (!opened) return std::unexpected(SocketError{-1, "No se pudo crear socket", opened.error()});
  for (const int buffer : {SO_SNDBUF, SO_RCVBUF}) {
    ::setsockopt(opened->descriptor(), SOL_SOCKET, buffer, &kSocketBufferBytes,
                 sizeof kSocketBufferBytes);
  }
  if (const auto error = opened->bind(port_)) {
    return std::unexpected(SocketError{-2, "No se pudo hacer bind", error});
  }
  socket_ = std::move(*opened);
  readable_ = receiveQueue_->makeReadSource(socket_->descriptor(), [this] { receive(); });
  return {};
}

void UDPSocket::receive() {
  std::vector<Message> messages;
  for (std::size_t i = 0; i < kMaxBatch && receiveOnce(messages); ++i) {
  }
  if (messages.empty() || pending_ + messages.size() > kMaxPending) return;
  pending_ += messages.size();
  scheduler_.mainQueue().async(scope_, [this, messages = std::move(messages)] {
    pending_ -= messages.size();
    for (const auto& [text, client] : messages) onMessageReceived_(text, client);
  });
}

/// False when nothing is left to read.
bool UDPSocket::receiveOnce(std::vector<Message>& messages) const {
  std::array<char, kReceiveBytes> buffer;
  const auto received = socket_->receive(buffer);
  if (!received) {
    const bool isEmpty = received.error() == std::errc::resource_unavailable_try_again;
    if (!isEmpty) print_("⚠️ Error en recvfrom: " + received.error().message());
    return false;
  }
  const std::string_view text(buffer.data(), received->length);
  const auto& source = received->source;
  const bool isLocal = source.address == received->local || source.address >> 24U == IN_LOOPBACKNET;
  const bool isOwn = isLocal && source.port == port_;
  if (!text.empty() && wire::isValidUtf8(text) && source.isHost() && !isOwn) {
    messages.push_back({std::string(text), source});
  }
  return true;
}

void UDPSocket::send(std::span<const std::byte> bytes, const wire::Endpoint& client) const {
  (void)socket_->sendTo(client, INADDR_ANY, bytes);  // the system chooses the source address
}

}  // namespace quorin::panel
