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
/// a cable in real time that sends audio. Each for QUORIN_HOSTILE_SECONDS, 1 without it.
namespace quorin::usb {
namespace {

using namespace std::chrono_literals;
using test::Bytes;
using test::bytesOf;
using test::repeated;

#ifdef QUORIN_SANITIZED
constexpr std::clock_t kMaxTurn = CLOCKS_PER_SEC;
#else
constexpr std::clock_t kMaxTurn = CLOCKS_PER_SEC / 10;
#endif

std::mt19937 random(20);

Bytes noise() {
  Bytes result(1 + random() % 4000);
  for (auto& byte : result) byte = static_cast<std::byte>(random());
  return result;
}

/// A property list of about `size` bytes: wide, deep and full of escapes.
Bytes hugeList(std::size_t size) {
  return bytesOf("<plist><dict><key>a</key><array>" + repeated("<true/>", 600) + "</array>" +
                 "<key>b</key>" + repeated("<dict><key>k</key>", 60) + "<true/>" +
                 repeated("</dict>", 60) + "<key>c</key><string>" + repeated("&amp;", 250) +
                 std::string(size - 10'000, 'x') + "</string></dict></plist>");
}

/// What is sent on each turn of a connection; nothing closes it.
struct Attack {
  const char* name;
  bool onService;
  Bytes (*send)(std::uint32_t turn);
};

constexpr Attack kAttacks[] = {
    {"app: random bytes", false, [](auto) { return noise(); }},
    {"app: every type, every size", false,
     [](auto turn) {
       return wire::encodeFrame(100 + turn % 5, turn, Bytes(std::size_t{1} << (turn / 5 % 21)));
     }},
    {"app: half a frame, and no more", false,
     [](auto turn) {
       if (turn > 0) ::sleep(5);
       auto frame = wire::encodeFrame(101, 0, Bytes(wire::kMaxPayloadBytes));
       frame.resize(frame.size() / 2);
       return frame;
     }},
    {"app: a byte a second", false,
     [](auto turn) {
       if (turn > 0) ::sleep(1);
       return Bytes(1);
     }},
    {"app: pongs to no ping", false, [](auto turn) { return wire::encodeFrame(103, turn, {}); }},
    {"app: long, turning and controlling texts", false,
     [](auto) {
       const auto text = repeated("\u202E\u2066\x1b[2J\n\a\u0085", 50'000);
       return wire::encodeFrame(101, 0, wire::encodeText(text));
     }},
    {"app: property lists", false,
     [](auto) { return wire::encodeFrame(100, 0, hugeList(16'000)); }},
    {"service: accepts and closes", true, [](auto) { return Bytes(); }},
    {"service: never answers", true,
     [](auto turn) {
       if (turn > 0) ::sleep(5);
       return Bytes(1);
     }},
    {"service: random bytes", true, [](auto) { return noise(); }},
    {"service: no property lists", true, [](auto) { return test::usbMessage(noise()); }},
    {"service: property lists", true, [](auto) { return test::usbMessage(hugeList(60'000)); }},
    {"service: attaches and detaches", true,
     [](auto) {
       const bool comes = random() % 3 > 0;
       return test::usbMessage(comes ? "Attached" : "Detached", DeviceID(random() % 40), "USB",
                               "\u202Ex");
     }},
};

[[noreturn]] void attackForEver(const Attack& attack, int listener) {
  while (true) {
    pollfd ready{.fd = listener, .events = POLLIN, .revents = 0};
    ::poll(&ready, 1, -1);
    const posix::FileDescriptor socket(::accept(listener, nullptr, nullptr));
    if (!socket) continue;
    if (attack.onService && ::fork() != 0) continue;  // a service has many clients at once
    const timeval timeout{.tv_sec = 0, .tv_usec = 100'000};
    ::setsockopt(socket.get(), SOL_SOCKET, SO_SNDTIMEO, &timeout, sizeof timeout);
    for (std::uint32_t turn = 0;; ++turn) {
      const auto data = attack.send(turn);
      if (data.empty()) break;
      if (::send(socket.get(), data.data(), data.size(), MSG_NOSIGNAL) < 0 && errno != EAGAIN)
        break;
    }
    if (attack.onService) ::_exit(0);
  }
}

TEST(HostileCable, CostsNeitherMemoryNorTimeNorLines) {
  const test::TemporaryDirectory directory;
  const auto path = directory.path() / "usbmuxd";
  ::setenv("USBMUXD_SOCKET_ADDRESS", ("UNIX:" + path.string()).c_str(), 1);
  test::LogCapture log;
  const auto* const chosen = std::getenv("QUORIN_HOSTILE_SECONDS");
  const std::chrono::seconds length(chosen != nullptr ? std::atoi(chosen) : 1);

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
    const auto begin = std::chrono::steady_clock::now();
    while (std::chrono::steady_clock::now() < begin + length) {
      const auto start = std::clock();
      QCoreApplication::processEvents();
      longest = std::max(longest, std::clock() - start);
      peak = std::max(peak, test::memoryInUse());
      ::usleep(500);
    }
    EXPECT_LT(std::chrono::steady_clock::now() - begin, length + 3s) << "waited for the peer";
    EXPECT_LT(peak - before, 5'000'000);
    EXPECT_LT(longest, kMaxTurn);
    const auto lines = 25U * static_cast<unsigned>(length.count() + 1);
    EXPECT_LT(log.take().size(), lines);
    EXPECT_LT(presented, lines);
    audio.reset();
    sendQueue->end();
    ::kill(-child, SIGKILL);
    ::waitpid(child, nullptr, 0);
  }
}

}  // namespace
}  // namespace quorin::usb
