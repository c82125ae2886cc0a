#include "field/field.h"

#include "support/own_network.h"

#include <fcntl.h>
#include <netinet/ip.h>
#include <netinet/udp.h>
#include <sched.h>
#include <sys/socket.h>
#include <unistd.h>

#include <QCoreApplication>
#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <system_error>

namespace quorin::field {
namespace {

using namespace std::chrono_literals;

[[noreturn]] void fail(const char* what) {
  throw std::system_error(errno, std::generic_category(), what);
}

wire::Endpoint endpoint(const std::string& address, std::uint16_t port) {
  return {.address = *wire::parseAddress(address), .port = port};
}

void setOption(const posix::FileDescriptor& socket, int level, int name) {
  const int yes = 1;
  if (::setsockopt(socket.get(), level, name, &yes, sizeof yes) != 0) fail("setsockopt");
}

}  // namespace

bool enterField() {
  return test::enterOwnNetwork() && std::system("ip link show lo >/dev/null 2>&1") == 0;
}

void ip(const std::string& arguments) {
  if (std::system(("ip " + arguments).c_str()) != 0) {
    throw std::runtime_error("ip " + arguments);
  }
}

Place::Place() {
  std::thread([this] {
    if (::unshare(CLONE_NEWNET) != 0) fail("unshare");
    network_ = posix::FileDescriptor(::open("/proc/thread-self/ns/net", O_RDONLY));
  }).join();
  ip("link set lo up");
}

void Place::run(const std::function<void()>& work) const {
  std::thread([&] {
    if (::setns(network_.get(), CLONE_NEWNET) != 0) fail("setns");
    work();
  }).join();
}

void Place::ip(const std::string& arguments) const {
  run([&] { field::ip(arguments); });
}

void Place::wireTo(const std::string& here, const std::string& there) const {
  field::ip("link add " + here + " type veth peer name " + there + " netns /proc/" +
            std::to_string(::getpid()) + "/fd/" + std::to_string(network_.get()));
  ip("link set " + there + " up");
  field::ip("link set " + here + " up");
}

Phone::Phone(const Place& place, const std::string& own, const std::string& server) {
  place.run([&] {
    socket_ =
        posix::FileDescriptor(::socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    setOption(socket_, IPPROTO_IP, IP_RECVTOS);
    setOption(socket_, SOL_SOCKET, SO_TIMESTAMPNS);
    const auto from = endpoint(own, 0).socketAddress();
    const auto to = endpoint(server, Computer::kPort).socketAddress();
    if (::bind(socket_.get(), reinterpret_cast<const sockaddr*>(&from), sizeof from) != 0 ||
        ::connect(socket_.get(), reinterpret_cast<const sockaddr*>(&to), sizeof to) != 0) {
      fail("a phone's socket");
    }
  });
}

void Phone::says(std::string_view text) {
  (void)::send(socket_.get(), text.data(), text.size(), 0);
}

void Phone::turn() {
  for (;;) {
    std::array<char, 4096> bytes;
    iovec payload{.iov_base = bytes.data(), .iov_len = bytes.size()};
    alignas(cmsghdr) std::array<char, 256> control;
    msghdr message{};
    message.msg_iov = &payload;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    const auto length = ::recvmsg(socket_.get(), &message, 0);
    if (length < 0) return;
    if (length != 2 * wire::kChunkFrames) {
      messages.emplace_back(bytes.data(), static_cast<std::size_t>(length));
      continue;
    }
    for (auto* c = CMSG_FIRSTHDR(&message); c != nullptr; c = CMSG_NXTHDR(&message, c)) {
      if (c->cmsg_level == IPPROTO_IP && c->cmsg_type == IP_TOS) {
        trafficClass = *CMSG_DATA(c);
      } else if (c->cmsg_level == SOL_SOCKET && c->cmsg_type == SCM_TIMESTAMPNS) {
        timespec at{};
        std::memcpy(&at, CMSG_DATA(c), sizeof at);
        arrivals.push_back(std::chrono::seconds(at.tv_sec) + std::chrono::nanoseconds(at.tv_nsec));
      }
    }
  }
}

std::size_t Phone::heardWithin(std::chrono::seconds duration) const {
  return static_cast<std::size_t>(std::ranges::count_if(
      arrivals, [&](auto arrival) { return arrival - arrivals.front() < duration; }));
}

void sendForged(const wire::Endpoint& source, const wire::Endpoint& to, std::string_view text) {
  struct {
    iphdr ip;
    udphdr udp;
    std::array<char, 64> text;
  } packet{};
  const auto udpLength = sizeof packet.udp + text.size();
  const auto destination = to.socketAddress();
  packet.ip.version = 4;
  packet.ip.ihl = sizeof packet.ip / 4;
  packet.ip.ttl = 64;
  packet.ip.protocol = IPPROTO_UDP;
  packet.ip.saddr = source.socketAddress().sin_addr.s_addr;
  packet.ip.daddr = destination.sin_addr.s_addr;
  packet.udp.source = htons(source.port);
  packet.udp.dest = htons(to.port);
  packet.udp.len = htons(static_cast<std::uint16_t>(udpLength));  // and no checksum
  text.copy(packet.text.data(), packet.text.size());

  const posix::FileDescriptor socket(::socket(AF_INET, SOCK_RAW | SOCK_CLOEXEC, IPPROTO_RAW));
  if (::sendto(socket.get(), &packet, sizeof packet.ip + udpLength, 0,
               reinterpret_cast<const sockaddr*>(&destination), sizeof destination) < 0) {
    fail("a forged datagram");
  }
}

Computer::Computer() {
  watch_.startIPWatch();
  server_.startUDP(std::to_string(kPort));
  sender_.startAudioSendTimer();
  capture_ = std::jthread([this](const std::stop_token& stop) {
    const wire::AudioChunk chunk{};
    for (auto next = std::chrono::steady_clock::now(); !stop.stop_requested(); next += 20ms) {
      std::this_thread::sleep_until(next);
      sender_.offer(chunk);
    }
  });
}

Computer::~Computer() {
  capture_ = {};
  watch_.stopIPWatch();
  if (server_.isRunning()) server_.stopUDP();
  queue_->end();
  scheduler_->end();
}

bool Computer::until(const std::function<bool()>& condition, std::chrono::milliseconds limit) {
  for (const auto end = std::chrono::steady_clock::now() + limit;;) {
    QCoreApplication::processEvents();
    for (auto& phone : phones) phone->turn();
    if (condition()) return true;
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(1ms);
  }
}

void Computer::runFor(std::chrono::milliseconds duration) {
  until([] { return false; }, duration);
}

Phone& Computer::newPhone(const Place& place, const std::string& own, const std::string& server) {
  return *phones.emplace_back(std::make_unique<Phone>(place, own, server));
}

Phone& Computer::newClient(const Place& place, const std::string& own, const std::string& server) {
  auto& phone = newPhone(place, own, server);
  phone.says("<<HELLO>>");
  if (!until([&] { return phone.arrivals.size() > 0; })) throw std::runtime_error("no sound");
  return phone;
}

void Computer::onStartFailed(const wifi::StartFailure& failure) {
  throw std::system_error(failure.error, std::generic_category(), "the server");
}

void Computer::onNetworksChanged(const wifi::LocalNetworks& networks) {
  server_.setOwnNetworks(networks.subnets);
}

}  // namespace quorin::field
