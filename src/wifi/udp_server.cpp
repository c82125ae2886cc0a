#include "wifi/udp_server.h"

#include "wire/control_message.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <utility>

namespace quorin::wifi {
namespace {

using std::chrono::milliseconds;

constexpr dispatch::TimerSchedule kExpiryCheck{.first = std::chrono::seconds(1),
                                               .interval = std::chrono::seconds(1),
                                               .leeway = milliseconds(200)};

/// The sockets of ten clients, and of as many that have left recently.
constexpr std::size_t kMaxConnections = 2 * ClientTable::kMaxClients;

// More than is ever accepted, so that a long datagram shows its length instead of being cut to
// one that would pass.
constexpr std::size_t kReceiveBufferBytes = 4096;
static_assert(kReceiveBufferBytes > kMaxRequestBytes);

}  // namespace

UdpServer::UdpServer(dispatch::Scheduler& scheduler, stream::AudioSender& sender,
                     WifiTransport& transport, std::function<void()> onClientsChanged)
    : scheduler_(scheduler),
      sender_(sender),
      transport_(transport),
      onClientsChanged_(std::move(onClientsChanged)) {}

UdpServer::~UdpServer() {
  close();
}

UdpServer::Started UdpServer::startUDP(int port) {
  assert(!isRunning());
  using Step = StartFailure::Step;
  if (port < 1 || port > 65535) return std::unexpected(StartFailure{.step = Step::kPort});
  const auto number = static_cast<std::uint16_t>(port);
  auto socket = network::DatagramSocket::open();
  if (!socket) return std::unexpected(StartFailure{Step::kSocket, socket.error().value(), number});
  if (const auto error = socket->bind(number)) {
    return std::unexpected(StartFailure{Step::kBind, error.value(), number});
  }

  udpSocket_ = std::move(*socket);
  port_ = number;
  auto& queue = scheduler_.mainQueue();
  udpReadSource_ = queue.makeReadSource(udpSocket_->descriptor(), [this] { handleUDPReadable(); });
  udpClientTimeoutTimer_ = queue.makeTimer(kExpiryCheck, [this] { expireUDPClients(); });
  transport_.publishAudience(std::make_shared<Audience>());
  return {};
}

void UdpServer::stopUDP() {
  close();
  sender_.stopAudioSendTimer();
}

// The socket stays: it is bound to the wildcard address, which covers new addresses too.
UdpServer::Started UdpServer::restartUDPForNetworkChange(int port) {
  if (isRunning() && port == port_) {
    forgetClients();
    transport_.publishAudience(std::make_shared<Audience>());
    return {};
  }
  close();
  return startUDP(port);
}

std::vector<Client> UdpServer::clients() const {
  const auto now = scheduler_.wallNow();
  const auto bootNow = scheduler_.bootNow();
  std::vector<Client> result;
  for (const auto& client : table_.clients()) {
    result.push_back(
        {.endpoint = client.endpoint, .connectedSince = now - (bootNow - client.since)});
  }
  return result;
}

void UdpServer::disconnect(const wire::Endpoint& client) {
  if (table_.stop(client)) clientsChanged();
  publishIfChanged();
}

void UdpServer::forgetClients() {
  table_.clear();
  hasRefused_ = false;
  audienceChanged_ = false;
  connections_.clear();
  updateDue_ = false;
  whileRunning_.cancelAll();
}

void UdpServer::close() {
  transport_.publishAudience(nullptr);
  udpClientTimeoutTimer_.reset();
  forgetClients();
  udpReadSource_.reset();
  udpSocket_.reset();
}

void UdpServer::handleUDPReadable() {
  drain(*udpSocket_);
  publishIfChanged();
}

void UdpServer::handleReadable(const wire::Endpoint& client) {
  const auto socket = connections_.at(client).socket;  // keeps it open if it is replaced meanwhile
  drain(*socket);
  dropIfRefused(client);
  publishIfChanged();
}

void UdpServer::drain(const auto& socket) {
  std::array<char, kReceiveBufferBytes> buffer;
  for (int i = 0; i < kDatagramsPerTurn; ++i) {
    const auto received = socket.receive(buffer);
    if (!received) break;  // nothing more; or an error, which ends with this call

    const auto request = parseRequest({buffer.data(), received->length});
    if (request && isPlausibleClient(received->source, {received->local, port_}, ownNetworks_)) {
      handle(*request, *received);
    } else {
      ++ignoredDatagrams_;
    }
  }
}

void UdpServer::handle(Request request, const Received& received) {
  switch (request) {
    case Request::kHello:
      handleHello(received);
      break;
    case Request::kPing:
      table_.ping(received.source, scheduler_.bootNow());
      reply(received, wire::kPong);
      break;
    case Request::kStop:
      if (table_.stop(received.source)) clientsChanged();
      break;
  }
}

void UdpServer::handleHello(const Received& received) {
  using enum ClientTable::HelloResult;
  const auto result = table_.hello(received.source, received.local, scheduler_.bootNow());
  if (result == kBusy) {
    reply(received, wire::kBusy);
    if (!std::exchange(hasRefused_, true)) updateSoon();
    return;
  }
  // The first client's sound begins after it joined.
  if (result == kFirstClient) sender_.clearAudioFrames();
  // Before replying: the send buffer of the server's own socket may be full of replies to hosts
  // that are gone.
  if (!isConnected(received.source, received.local)) connect(received.source, received.local);
  reply(received, wire::kReady);
  reply(received, wire::kFormat);
  if (result != kKnownClient) clientsChanged();
}

bool UdpServer::isConnected(const wire::Endpoint& client, std::uint32_t local) const {
  const auto known = connections_.find(client);
  return known != connections_.end() && known->second.local == local &&
         !known->second.socket->isRefused();
}

// Without a descriptor, a route or a budget, the next update or check tries again.
void UdpServer::connect(const wire::Endpoint& client, std::uint32_t local) {
  updateSoon();
  if (connectsLeft_ == 0) return;
  --connectsLeft_;
  auto socket = network::DatagramSocket::open();
  if (!socket || socket->connect({local, port_}, client)) return;
  if (connections_.size() >= kMaxConnections) closeUnused();
  const auto descriptor = socket->descriptor();
  connections_.erase(client);
  connections_.emplace(
      client, Connection{.socket = std::make_shared<const ClientSocket>(std::move(*socket)),
                         .local = local,
                         .readable = scheduler_.mainQueue().makeReadSource(
                             descriptor, [this, client] { handleReadable(client); })});
  audienceChanged_ = true;
}

void UdpServer::connectClients() {
  for (const auto& client : table_.clients()) {
    if (!isConnected(client.endpoint, client.local)) connect(client.endpoint, client.local);
  }
}

void UdpServer::dropIfRefused(const wire::Endpoint& client) {
  const auto connection = connections_.find(client);
  if (connection == connections_.end() || !connection->second.socket->isRefused()) return;
  if (table_.stop(client)) clientsChanged();
}

void UdpServer::closeUnused() {
  std::erase_if(connections_,
                [this](const auto& entry) { return !table_.isRegistered(entry.first); });
}

void UdpServer::expireUDPClients() {
  closeUnused();
  // Refusals reported to a send on the pacing queue.
  for (const auto& entry : connections_) dropIfRefused(entry.first);
  if (table_.expire(scheduler_.bootNow()) > 0) clientsChanged();
  connectClients();
  publishIfChanged();
}

void UdpServer::clientsChanged() {
  audienceChanged_ = true;
  if (!table_.isFull()) hasRefused_ = false;
  updateSoon();
}

/// At the end of a turn, after the replies, so that a client gets its format line before audio.
void UdpServer::publishIfChanged() {
  if (!std::exchange(audienceChanged_, false)) return;
  auto audience = std::make_shared<Audience>();
  for (const auto& client : table_.clients()) {
    const auto connection = connections_.find(client.endpoint);
    if (connection != connections_.end()) audience->push_back(connection->second.socket);
  }
  transport_.publishAudience(std::move(audience));
}

void UdpServer::updateSoon() {
  if (std::exchange(updateDue_, true)) return;
  const auto wait = std::max<dispatch::Duration>(nextUpdate_ - scheduler_.now(), {});
  scheduler_.mainQueue().asyncAfter(wait, whileRunning_, [this] {
    updateDue_ = false;
    nextUpdate_ = scheduler_.now() + kUpdateInterval;
    connectsLeft_ = ClientTable::kMaxClients;
    connectClients();
    publishIfChanged();
    onClientsChanged_();
  });
}

void UdpServer::reply(const Received& to, std::string_view text) const {
  // What the system cannot take at once is lost; the phone asks again.
  const auto bytes = std::as_bytes(std::span(text));
  const auto own = connections_.find(to.source);
  if (own != connections_.end() && own->second.local == to.local) {
    own->second.socket->send(bytes);
  } else {
    (void)udpSocket_->sendTo(to.source, to.local, bytes);
  }
}

}  // namespace quorin::wifi
