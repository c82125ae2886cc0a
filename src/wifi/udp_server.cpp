#include "wifi/udp_server.h"

#include "wifi/port_text.h"
#include "wire/client_key.h"
#include "wire/control_message.h"

#include <sys/socket.h>

#include <array>
#include <cassert>
#include <cerrno>
#include <chrono>
#include <thread>
#include <utility>

namespace quorin::wifi {
namespace {

using std::chrono::milliseconds;

constexpr dispatch::TimerSchedule kExpiryCheck{.first = std::chrono::seconds(1),
                                               .interval = std::chrono::seconds(1),
                                               .leeway = milliseconds(200)};

// A send that was under way when the socket was given up holds its port for some microseconds.
constexpr milliseconds kFormerSendEndsWithin{50};

// More than is ever accepted, so that a long datagram shows its length instead of being cut to
// one that would pass.
constexpr std::size_t kReceiveBufferBytes = 4096;
static_assert(kReceiveBufferBytes > kMaxRequestBytes);

}  // namespace

UdpServer::UdpServer(dispatch::Scheduler& scheduler, stream::AudioSender& sender,
                     WifiTransport& transport, UdpServerListener& listener)
    : scheduler_(scheduler), sender_(sender), transport_(transport), listener_(listener) {}

UdpServer::~UdpServer() {
  close();
}

void UdpServer::startUDP(std::string_view portText) {
  assert(!udpRunning_);
  const auto port = parsePort(portText);
  if (!port) {
    listener_.onStartFailed({.step = StartFailure::Step::kPort});
    return;
  }

  const int fd = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (fd < 0) {
    listener_.onStartFailed({StartFailure::Step::kSocket, errno, *port});
    return;
  }
  udpSocket_ = std::make_shared<const posix::FileDescriptor>(fd);
  if (!bindTo(*port)) {
    const StartFailure failure{StartFailure::Step::kBind, errno, *port};
    udpSocket_.reset();
    listener_.onStartFailed(failure);
    return;
  }

  auto& queue = scheduler_.mainQueue();
  udpReadSource_ = queue.makeReadSource(fd, [this] { handleUDPReadable(); });
  udpClientTimeoutTimer_ = queue.makeTimer(kExpiryCheck, [this] { expireUDPClients(); });
  udpRunning_ = true;
  transport_.setServerRunning(true);
  listener_.onStarted();
}

void UdpServer::stopUDP() {
  close();
  sender_.stopAudioSendTimer();
  listener_.onStopped();
}

void UdpServer::restartUDPForNetworkChange(std::string_view portText) {
  const bool wasRunning = udpRunning_;
  close();
  if (wasRunning) startUDP(portText);
}

bool UdpServer::bindTo(std::uint16_t port) const {
  const auto address = wire::ClientKey{.address = INADDR_ANY, .port = port}.socketAddress();
  const auto attempt = [&] {
    return ::bind(udpSocket_->get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) ==
           0;
  };
  const auto deadline = std::chrono::steady_clock::now() + kFormerSendEndsWithin;
  while (!attempt()) {
    const bool ownSendHoldsIt = errno == EADDRINUSE && !formerSocket_.expired();
    if (!ownSendHoldsIt || std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::yield();
  }
  return true;
}

void UdpServer::close() {
  udpRunning_ = false;
  table_.clear();
  transport_.setServerRunning(false);
  transport_.publishAudience(nullptr);  // before the socket goes, so that no send outlives it
  udpClientTimeoutTimer_.reset();
  udpReadSource_.reset();
  if (udpSocket_) formerSocket_ = std::exchange(udpSocket_, nullptr);
}

void UdpServer::handleUDPReadable() {
  std::array<char, kReceiveBufferBytes> buffer;
  Turn turn;
  for (int i = 0; i < kDatagramsPerTurn; ++i) {
    sockaddr_in source{};
    socklen_t sourceLength = sizeof source;
    const auto length = ::recvfrom(udpSocket_->get(), buffer.data(), buffer.size(), 0,
                                   reinterpret_cast<sockaddr*>(&source), &sourceLength);
    if (length < 0) break;  // nothing more; or an error, which ends with this call

    const auto request = parseRequest({buffer.data(), static_cast<std::size_t>(length)});
    if (request) {
      handle(*request, source, turn);
    } else {
      ++ignoredDatagrams_;
    }
  }
  finish(turn);
}

void UdpServer::handle(Request request, const sockaddr_in& source, Turn& turn) {
  const auto key = wire::ClientKey::of(source);
  switch (request) {
    case Request::kHello:
      handleHello(source, turn);
      break;
    case Request::kPing:
      table_.ping(key, scheduler_.wallNow());
      reply(source, wire::kPong);
      break;
    case Request::kStop:
      turn.tableChanged |= table_.stop(key);
      turn.left = true;
      break;
  }
}

void UdpServer::handleHello(const sockaddr_in& source, Turn& turn) {
  using enum ClientTable::HelloResult;
  const auto result = table_.hello(wire::ClientKey::of(source), scheduler_.wallNow());
  if (result == kBusy) {
    reply(source, wire::kBusy);
    return;
  }
  // The first client's sound begins after it joined.
  if (result == kFirstClient) sender_.clearAudioFrames();
  reply(source, wire::kReady);
  reply(source, wire::kFormat);
  turn.tableChanged |= result != kKnownClient;
  turn.joined = true;
}

void UdpServer::expireUDPClients() {
  const auto expired = table_.expire(scheduler_.wallNow());
  finish({.tableChanged = expired.clients > 0, .left = expired.keys > 0});
}

void UdpServer::finish(const Turn& turn) {
  // After the replies, so that a client's first audio comes behind its format line.
  if (turn.tableChanged) {
    transport_.publishAudience(std::make_shared<const Audience>(udpSocket_, table_.clients()));
  }

  // One report for the whole turn; what the page shows follows from the state at its end.
  if (!turn.joined && !turn.left) return;
  const bool anybody = clientCount() > 0;
  const std::weak_ptr<const posix::FileDescriptor> socket = udpSocket_;
  listener_.onClientCountChanged(clientCount());
  if (socket.lock() != udpSocket_ || !udpRunning_) return;  // the callback stopped or restarted us
  if (anybody && turn.joined) listener_.onConnected();
  if (!anybody && turn.left) listener_.onDisconnected();
}

void UdpServer::reply(const sockaddr_in& to, std::string_view text) const {
  // What the system cannot take at once is lost; the phone asks again.
  (void)::sendto(udpSocket_->get(), text.data(), text.size(), MSG_DONTWAIT,
                 reinterpret_cast<const sockaddr*>(&to), sizeof to);
}

}  // namespace quorin::wifi
