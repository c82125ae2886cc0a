#include "bench/flood.h"

#include "platform/posix/file_descriptor.h"

#include <sys/socket.h>

#include <string>
#include <thread>

namespace quorin::bench {
namespace {

using namespace std::chrono_literals;

/// What one short-lived port sends before the next one does.
const std::string kTexts[] = {"<<PING>>", "<<HELLO>>",           "<<STOP>>", "rubbish", "\xFF\xFE",
                              "",         std::string(1400, 'x')};

int sendAll(const sockaddr_in& server) {
  const posix::FileDescriptor socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  int sent = 0;
  for (const auto& text : kTexts) {
    sent += ::sendto(socket.get(), text.data(), text.size(), MSG_DONTWAIT,
                     reinterpret_cast<const sockaddr*>(&server), sizeof server) >= 0;
  }
  return sent;
}

}  // namespace

std::uint64_t flood(const wire::Endpoint& server, int perSecond, std::chrono::seconds duration) {
  const auto address = server.socketAddress();
  const auto begin = std::chrono::steady_clock::now();
  std::uint64_t sent = 0;
  for (auto tick = begin; tick < begin + duration; tick += 1ms) {
    const auto due = static_cast<std::uint64_t>(perSecond) *
                     static_cast<std::uint64_t>((tick - begin) / 1ms) / 1000;
    while (sent < due) sent += static_cast<std::uint64_t>(sendAll(address));
    std::this_thread::sleep_until(tick);
  }
  return sent;
}

}  // namespace quorin::bench
