#include "platform/usb/loopback_listener.h"

#include <arpa/inet.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>

namespace quorin::usb {

bool loopbackListenerIsTrusted(std::uint16_t port) {
  // As the tables write addresses. An IPv6 socket that listens on any address takes IPv4 as well.
  std::array<char, 14> text{};
  std::snprintf(text.data(), text.size(), "%08X:%04X", htonl(INADDR_LOOPBACK), port);
  const std::string_view loopback(text.data());
  const auto accepts = [loopback, suffix = loopback.substr(8)](const std::string& local) {
    const bool any = local.find_first_not_of('0') == local.find(':');
    return local.ends_with(loopback) || (any && local.ends_with(suffix));
  };

  bool found = false;
  for (const auto* table : {"/proc/net/tcp", "/proc/net/tcp6"}) {
    std::ifstream lines(table);
    std::string line;
    std::getline(lines, line);  // the headings
    while (std::getline(lines, line)) {
      std::istringstream words(line);
      std::string local, state, skipped;
      uid_t user = 0;
      words >> skipped >> local >> skipped >> state >> skipped >> skipped >> skipped >> user;
      if (!words || state != "0A") break;  // listeners come first
      if (!accepts(local)) continue;
      if (user != 0 && user != ::geteuid()) return false;
      found = true;
    }
  }
  return found;
}

}  // namespace quorin::usb
