#include "field/field.h"

#include <fcntl.h>
#include <netinet/ip.h>
#include <netinet/udp.h>
#include <sched.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <stdexcept>
#include <system_error>

namespace quorin::field {
namespace {

using namespace std::chrono_literals;

[[noreturn]] void fail(const char* what) {
  throw std::system_error(errno, std::generic_category(), what);
}

}  // namespace

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
  if (const auto started = server_.startUDP(Phone::kServerPort); !started) {
    throw std::system_error(started.error().error, std::generic_category(), "the server");
  }
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

Phone& Computer::newPhone(const Place& place, const std::string& own, const std::string& server) {
  auto& phone = phones.emplace_back();
  place.run([&] { phone = std::make_unique<Phone>(server, own); });
  return *phone;
}

Phone& Computer::newClient(const Place& place, const std::string& own, const std::string& server) {
  auto& phone = newPhone(place, own, server);
  phone.says("<<HELLO>>");
  if (!until([&] { return !phone.arrivals.empty(); })) throw std::runtime_error("no sound");
  return phone;
}

}  // namespace quorin::field
