#include "platform/dispatch/system_scheduler.h"
#include "support/fake_usbmuxd.h"
#include "support/own_network.h"
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
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <optional>
#include <random>
#include <string>

/// Apps on the channel and USB services that break every rule, in a process of their own, against
/// a cable in real time that sends audio. Each for 1 s, or QUORIN_HOSTILE_SECONDS.
namespace quorin::usb {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using test::Bytes;
using test::bytesOf;
using test::operator+;

/// One turn on a connection; false closes it.
struct Attacker {
  int socket;
  std::mt19937& random;
  std::uint32_t connection;
  std::uint32_t turn = 0;

  std::uint32_t below(std::uint32_t limit) { return static_cast<std::uint32_t>(random() % limit); }
  Bytes noise(std::size_t size) {
    Bytes bytes(size);
    for (auto& byte : bytes) byte = static_cast<std::byte>(random());
    return bytes;
  }
  bool send(const Bytes& bytes) const {
    return ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL) >= 0 || errno == EAGAIN;
  }
  bool sendFrame(std::uint32_t type, std::uint32_t tag, const Bytes& payload) const {
    return send(wire::encodeFrame(type, tag, payload));
  }
};

std::string repeated(const std::string& text, std::size_t times) {
  std::string result;
  while (times-- > 0) result += text;
  return result;
}

/// A property list of `size` bytes at most: deep, wide, full of escapes, or noise in the binary
/// form.
Bytes hugeList(Attacker& attacker, std::size_t size) {
  const auto dictionary = [](const std::string& value) {
    return bytesOf("<plist><dict><key>a</key>" + value + "</dict></plist>");
  };
  switch ((attacker.connection + attacker.turn) % 5) {
    case 0:
      return dictionary(repeated("<array>", size / 17) + repeated("</array>", size / 17));
    case 1:
      return dictionary("<string>" + repeated("&amp;", 250) + std::string(size - 1400, 'x') +
                        "</string>");
    case 2:
      return dictionary("<array>" + repeated("<true/>", 900) + "</array>");
    case 3: {
      Bytes list = bytesOf("bplist00") + attacker.noise(size - 60);
      const Bytes trailer = test::bytes({0, 0, 0, 0, 0, 0, 2, 1, 0, 0, 0, 0, 0, 0, 0, 200});
      return list + trailer + Bytes(14) + test::bytes({0, 8});
    }
    default:
      return dictionary(repeated("<dict><key>k</key>", 60) + "<true/>" + repeated("</dict>", 60));
  }
}

struct Attack {
  const char* name;
  bool onService;
  bool (*turn)(Attacker&);
};

constexpr Attack kAttacks[] = {
    {"app: random bytes", false, [](Attacker& a) { return a.send(a.noise(1 + a.below(4000))); }},
    {"app: random frames", false,
     [](Attacker& a) { return a.sendFrame(99 + a.below(7), a.below(9), a.noise(a.below(9000))); }},
    {"app: every type, every size", false,
     [](Attacker& a) {
       return a.sendFrame(100 + a.turn % 5, a.turn, Bytes(std::size_t{1} << (a.turn / 5 % 21)));
     }},
    {"app: half a frame, then nothing", false,
     [](Attacker& a) {
       if (a.turn == 0) a.send(Bytes(wire::encodeFrame(101, 0, Bytes(1U << 19U))));
       ::usleep(10'000);
       return true;
     }},
    {"app: one byte a second", false,
     [](Attacker& a) {
       ::usleep(1'000'000);
       return a.send(Bytes(1));
     }},
    {"app: pongs", false, [](Attacker& a) { return a.sendFrame(103, a.turn % 64, {}); }},
    {"app: texts", false,
     [](Attacker& a) { return a.sendFrame(101, 0, wire::encodeText(std::string(100, 'x'))); }},
    {"app: long, turning and controlling texts", false,
     [](Attacker& a) {
       return a.sendFrame(101, 0,
                          wire::encodeText(repeated("\u202E\u2066\x1b[2J\n\a\u0085", 50'000)));
     }},
    {"app: property lists", false,
     [](Attacker& a) { return a.sendFrame(100, 0, hugeList(a, 16'000)); }},
    {"app: accepts and closes", false, [](Attacker&) { return false; }},
    {"service: accepts and closes", true, [](Attacker&) { return false; }},
    {"service: random bytes", true, [](Attacker& a) { return a.send(a.noise(1 + a.below(4000))); }},
    {"service: never answers", true,
     [](Attacker&) {
       ::usleep(10'000);
       return true;
     }},
    {"service: one byte a second", true,
     [](Attacker& a) {
       ::usleep(1'000'000);
       return a.send(Bytes(1, std::byte{32}));
     }},
    {"service: property lists", true,
     [](Attacker& a) {
       const auto list = hugeList(a, 60'000);
       auto message = test::usbMessage({});
       const auto size = static_cast<std::uint32_t>(16 + list.size());
       for (unsigned i = 0; i < 4; ++i) message[i] = static_cast<std::byte>(size >> (8 * i));
       message.resize(16);
       return a.send(message + list);
     }},
    {"service: attaches and detaches", true,
     [](Attacker& a) {
       const auto device =
           "<key>DeviceID</key><integer>" + std::to_string(a.below(40)) + "</integer>";
       return a.send(test::usbMessage(
                  "<key>MessageType</key><string>Attached</string>" + device +
                  "<key>Properties</key><dict><key>ConnectionType</key><string>USB</string>"
                  "<key>SerialNumber</key><string>\u202Ex</string></dict>")) &&
              (a.below(2) == 0 || a.send(test::usbMessage(
                                      "<key>MessageType</key><string>Detached</string>" + device)));
     }},
};

[[noreturn]] void attackForEver(const Attack& attack, int listener) {
  std::mt19937 random(20);
  std::uint32_t connections = 0;
  while (true) {
    pollfd ready{.fd = listener, .events = POLLIN, .revents = 0};
    ::poll(&ready, 1, -1);
    const int socket = ::accept(listener, nullptr, nullptr);
    if (socket < 0) continue;
    ++connections;
    if (attack.onService && ::fork() != 0) {  // a service has many clients at once
      ::close(socket);
      continue;
    }
    const timeval patience{.tv_sec = 0, .tv_usec = 100'000};
    ::setsockopt(socket, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
    Attacker attacker{.socket = socket, .random = random, .connection = connections};
    while (attack.turn(attacker)) ++attacker.turn;
    ::close(socket);
    if (attack.onService) ::_exit(0);
  }
}

double memoryMb(const std::string& field) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with(field)) return std::stod(line.substr(field.size())) / 1024;
  }
  return 0;
}

double processorMs() {
  timespec time{};
  ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

std::size_t logged = 0;

TEST(HostileCable, CostsNeitherMemoryNorTimeNorLines) {
  const auto* chosen = std::getenv("QUORIN_HOSTILE_SECONDS");
  const auto seconds = std::chrono::seconds(chosen != nullptr ? std::atoi(chosen) : 1);
  const test::TemporaryDirectory directory;
  const auto path = directory.path() / "usbmuxd";
  ::setenv("USBMUXD_SOCKET_ADDRESS", ("UNIX:" + path.string()).c_str(), 1);
  qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) { ++logged; });

  for (const auto& attack : kAttacks) {
    SCOPED_TRACE(attack.name);
    std::optional<test::PhoneListener> phone;
    posix::FileDescriptor service;
    attack.onService ? void(service = test::listenAt(path)) : void(phone.emplace(wire::kCablePort));
    const auto child = ::fork();
    if (child == 0) {
      ::setpgid(0, 0);
      std::signal(SIGCHLD, SIG_IGN);
      attackForEver(attack, attack.onService ? service.get() : phone->descriptor());
    }
    phone.reset();
    service.reset();
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
    double longest = 0;
    logged = 0;
    std::ofstream("/proc/self/clear_refs") << "5";  // the peak starts anew
    const auto before = memoryMb("VmRSS:");
    for (const auto end = Clock::now() + seconds; Clock::now() < end;) {
      const auto start = processorMs();
      QCoreApplication::processEvents();
      longest = std::max(longest, processorMs() - start);
      ::usleep(500);
    }
    const auto growth = memoryMb("VmHWM:") - before;
    std::printf("%-42s grew %4.1f MB, longest turn %5.1f ms, %4zu lines logged, %3zu shown\n",
                attack.name, growth, longest, logged, presented);
    EXPECT_LT(growth, 5);
    EXPECT_LT(longest, 100);
    const auto bound = static_cast<std::size_t>(25 * (seconds.count() + 1));
    EXPECT_LT(logged, bound);
    EXPECT_LT(presented, bound);
    audio.reset();
    sendQueue->end();
    ::kill(-child, SIGKILL);
    ::waitpid(child, nullptr, 0);
  }
}

}  // namespace
}  // namespace quorin::usb

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  if (!quorin::test::enterOwnNetwork()) {
    std::puts("skipped: a network of its own needs root or user namespaces");
    return 77;  // what CTest takes for skipped
  }
  const QCoreApplication application(argc, argv);
  return RUN_ALL_TESTS();
}
