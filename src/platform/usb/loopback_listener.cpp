#include "platform/usb/loopback_listener.h"

#include <arpa/inet.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <fstream>
#include <string>

namespace quorin::usb {
namespace {

constexpr unsigned kListening = 0x0A;

/// As the tables write 127.0.0.1 and "any", the latter for both families: an IPv6 socket that
/// listens on any address takes IPv4 connections too.
bool acceptsLoopback(const std::string& address) {
  std::array<char, 9> loopback{};
  std::snprintf(loopback.data(), loopback.size(), "%08X", htonl(INADDR_LOOPBACK));
  return address.find_first_not_of('0') == std::string::npos || address.ends_with(loopback.data());
}

}  // namespace

bool loopbackListenerIsTrusted(std::uint16_t port) {
  bool found = false;
  for (const auto* table : {"/proc/net/tcp", "/proc/net/tcp6"}) {
    std::ifstream lines(table);
    std::string line;
    std::getline(lines, line);  // the headings
    while (std::getline(lines, line)) {
      std::array<char, 33> address{};
      unsigned localPort = 0;
      unsigned state = 0;
      unsigned user = 0;
      if (std::sscanf(line.c_str(), "%*u: %32[0-9A-F]:%x %*s %x %*s %*s %*s %u", address.data(),
                      &localPort, &state, &user) != 4 ||
          state != kListening) {
        break;  // listeners come first
      }
      if (localPort != port || !acceptsLoopback(address.data())) continue;
      if (user != 0 && user != ::geteuid()) return false;
      found = true;
    }
  }
  return found;
}

}  // namespace quorin::usb
