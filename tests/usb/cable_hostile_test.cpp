#include "platform/dispatch/system_scheduler.h"
#include "support/allocation_count.h"
#include "support/fake_usbmuxd.h"
#include "support/log_capture.h"
#include "support/temporary_directory.h"
#include "usb/cable.h"
#include "wire/cable_frames.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QCoreApplication>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <random>
#include <string>

/// Apps on the channel and USB services that break every rule, in a process of their own, against
/// a cable in real time that sends audio. Each for 1 s.
namespace quorin::usb {
namespace {

using namespace std::chrono_literals;
using test::Bytes;
using test::bytesOf;

std::string repeated(const std::string& text, std::size_t times) {
  std::string result;
  while (times-- > 0) result += text;
  return result;
}

/// One turn on a connection; false closes it.
struct Attacker {
  int socket;
  std::mt19937& random;
  std::uint32_t turn = 0;

  std::uint32_t below(std::uint32_t limit) { return static_cast<std::uint32_t>(random() % limit); }
  Bytes noise(std::size_t size) {
    Bytes result(size);
    for (auto& byte : result) byte = static_cast<std::byte>(random());
    return result;
  }
  bool send(const Bytes& data) const {
    return ::send(socket, data.data(), data.size(), MSG_NOSIGNAL) >= 0 || errno == EAGAIN;
  }
  bool sendNoise() { return send(noise(1 + below(4000))); }
  bool sendFrame(std::uint32_t type, std::uint32_t tag, const Bytes& payload) const {
    return send(wire::encodeFrame(type, tag, payload));
  }
  /// A property list of about `size` bytes: wide, deep and full of escapes.
  static Bytes hugeList(std::size_t size) {
    return bytesOf("<plist><dict><key>a</key><array>" + repeated("<true/>", 800) + "</array>" +
                   repeated("<dict><key>k</key>", 60) + repeated("</dict>", 60) + "<string>" +
                   repeated("&amp;", 250) + std::string(size - 10'000, 'x') +
                   "</string></dict></plist>");
  }
};

struct Attack {
  const char* name;
  bool onService;
  bool (*turn)(Attacker&);
};

constexpr Attack kAttacks[] = {
    {"app: random bytes", false, [](Attacker& a) { return a.sendNoise(); }},
    {"app: every type, every size", false,
     [](Attacker& a) {
       return a.sendFrame(100 + a.turn % 5, a.turn, Bytes(std::size_t{1} << (a.turn / 5 % 21)));
     }},
    {"app: long, turning and controlling texts", false,
     [](Attacker& a) {
       return a.sendFrame(101, 0,
                          wire::encodeText(repeated("\u202E\u2066\x1b[2J\n\a\u0085", 50'000)));
     }},
    {"app: property lists", false,
     [](Attacker& a) { return a.sendFrame(100, 0, a.hugeList(16'000)); }},
    {"service: accepts and closes", true, [](Attacker&) { return false; }},
    {"service: random bytes", true, [](Attacker& a) { return a.sendNoise(); }},
    {"service: property lists", true,
     [](Attacker& a) { return a.send(test::usbMessage(a.hugeList(60'000))); }},
    {"service: attaches and detaches", true,
     [](Attacker& a) {
       const auto message = [&](const std::string& type, const std::string& more) {
         return test::usbMessage("<key>MessageType</key><string>" + type +
                                 "</string><key>DeviceID</key><integer>" +
                                 std::to_string(a.below(40)) + "</integer>" + more);
       };
       return a.send(message("Attached",
                             "<key>Properties</key><dict><key>ConnectionType</key><string>USB"
                             "</string><key>SerialNumber</key><string>\u202Ex</string></dict>")) &&
              (a.below(2) == 0 || a.send(message("Detached", "")));
     }},
};

[[noreturn]] void attackForEver(const Attack& attack, int listener) {
  std::mt19937 random(20);
  while (true) {
    pollfd ready{.fd = listener, .events = POLLIN, .revents = 0};
    ::poll(&ready, 1, -1);
    const posix::FileDescriptor socket(::accept(listener, nullptr, nullptr));
    if (!socket) continue;
    if (attack.onService && ::fork() != 0) continue;  // a service has many clients at once
    const timeval timeout{.tv_sec = 0, .tv_usec = 100'000};
    ::setsockopt(socket.get(), SOL_SOCKET, SO_SNDTIMEO, &timeout, sizeof timeout);
    Attacker attacker{.socket = socket.get(), .random = random};
    while (attack.turn(attacker)) ++attacker.turn;
    if (attack.onService) ::_exit(0);
  }
}

TEST(HostileCable, CostsNeitherMemoryNorTimeNorLines) {
  const test::TemporaryDirectory directory;
  const auto path = directory.path() / "usbmuxd";
  ::setenv("USBMUXD_SOCKET_ADDRESS", ("UNIX:" + path.string()).c_str(), 1);
  test::LogCapture log;

  for (const auto& attack : kAttacks) {
    SCOPED_TRACE(attack.name);
    auto listener = attack.onService ? test::listenAt(path) : test::listenAt(wire::kCablePort);
    const auto child = ::fork();
    if (child == 0) {
      ::setpgid(0, 0);
      std::signal(SIGCHLD, SIG_IGN);
      attackForEver(attack, listener.get());
    }
    listener.reset();
    const auto scheduler = dispatch::makeSystemScheduler();
    const auto sendQueue = scheduler->makeSerialQueue("send");
    std::size_t presented = 0;
    PTUSBHub hub(scheduler->mainQueue());
    Cable cable({.scheduler = *scheduler, .hub = hub, .sendQueue = *sendQueue},
                {.didChange = [] {}, .presentMessage = [&](auto, bool) { ++presented; }});
    const wire::AudioChunk chunk{};
    auto audio = sendQueue->makeTimer({.interval = 20ms}, [&] { cable.audioPath().send(chunk); });
    cable.link().startListeningForDevices();
    cable.ping();
    cable.link().enterCableMode();

    // A click waits until the event loop has its next turn. Processor time, as other programs may
    // keep this one from running.
    std::clock_t longest = 0;
    log.take();
    const auto before = test::memoryInUse();
    auto peak = before;
    for (const auto end = std::chrono::steady_clock::now() + 1s;
         std::chrono::steady_clock::now() < end;) {
      const auto start = std::clock();
      QCoreApplication::processEvents();
      longest = std::max(longest, std::clock() - start);
      peak = std::max(peak, test::memoryInUse());
      ::usleep(500);
    }
    const auto growth = peak - before;
    const auto logged = log.take().size();
    EXPECT_LT(growth, 5'000'000);
    EXPECT_LT(longest, CLOCKS_PER_SEC / 10);
    EXPECT_LT(logged, 50U);
    EXPECT_LT(presented, 50U);
    audio.reset();
    sendQueue->end();
    ::kill(-child, SIGKILL);
    ::waitpid(child, nullptr, 0);
  }
}

}  // namespace
}  // namespace quorin::usb
