#include "platform/network/udp_ports.h"

#include "platform/network/datagram_socket.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <vector>

namespace quorin::network {
namespace {

namespace fs = std::filesystem;

/// A line of the system's table of UDP sockets.
struct Entry {
  bool isConnected = false;
  uid_t user = 0;
  std::string inode;
};

/// "00000000:2328" ends with the port.
std::uint16_t portOf(std::string_view address) {
  std::uint16_t port = 0;
  const auto digits = address.substr(std::min(address.size(), address.rfind(':') + 1));
  std::from_chars(digits.begin(), digits.end(), port, 16);
  return port;
}

std::vector<Entry> entriesOf(std::uint16_t port) {
  std::vector<Entry> entries;
  for (const char* table : {"/proc/thread-self/net/udp", "/proc/thread-self/net/udp6"}) {
    std::ifstream lines(table);
    for (std::string line; std::getline(lines, line);) {
      std::istringstream words(line);
      std::string slot, local, remote, state, queues, timer, retransmits, timeout;
      Entry entry;
      words >> slot >> local >> remote >> state >> queues >> timer >> retransmits >> entry.user >>
          timeout >> entry.inode;
      entry.isConnected = portOf(remote) != 0;
      if (words && portOf(local) == port) entries.push_back(std::move(entry));
    }
  }
  return entries;
}

std::string nameOf(const fs::path& process) {
  std::string name;
  std::getline(std::ifstream(process / "comm"), name);
  return name;
}

bool holdsAnyOf(const fs::path& process, const std::set<std::string>& sockets) {
  std::error_code error;
  for (fs::directory_iterator entry(process / "fd", error), end; entry != end;
       entry.increment(error)) {
    std::error_code gone;
    if (sockets.contains(fs::read_symlink(entry->path(), gone).string())) return true;
  }
  return false;
}

bool isOwnedBy(const fs::path& process, uid_t user) {
  struct stat status{};
  return ::stat(process.c_str(), &status) == 0 && status.st_uid == user;
}

std::string programOf(const std::vector<Entry>& entries, std::string_view likely) {
  std::set<std::string> sockets;
  for (const auto& entry : entries) sockets.insert("socket:[" + entry.inode + "]");
  std::string program;
  std::error_code error;
  for (fs::directory_iterator entry("/proc", error), end; entry != end; entry.increment(error)) {
    const auto& process = entry->path();
    if (holdsAnyOf(process, sockets)) return nameOf(process);
    if (isOwnedBy(process, entries.front().user) && nameOf(process) == likely) program = likely;
  }
  return program;
}

std::string nameOf(uid_t user) {
  std::array<char, 4096> space;
  passwd entry{};
  passwd* found = nullptr;
  if (::getpwuid_r(user, &entry, space.data(), space.size(), &found) == 0 && found != nullptr) {
    return found->pw_name;
  }
  return std::to_string(user);
}

}  // namespace

std::error_code bindUdpPort(std::uint16_t port) {
  auto socket = DatagramSocket::open();
  return socket ? socket->bind(port) : socket.error();
}

std::optional<std::uint16_t> freeUdpPortFrom(int first) {
  constexpr int kTries = 100;
  for (int port = first; port < first + kTries && port <= 65535; ++port) {
    if (!bindUdpPort(static_cast<std::uint16_t>(port))) return static_cast<std::uint16_t>(port);
  }
  return std::nullopt;
}

std::optional<PortHolder> holderOfUdpPort(std::uint16_t port, std::string_view likely) {
  const auto entries = entriesOf(port);
  if (entries.empty()) return std::nullopt;
  const uid_t user = entries.front().user;
  return PortHolder{
      .program = programOf(entries, likely),
      .user = nameOf(user),
      .isOwnUser = user == ::getuid(),
      .peers = static_cast<std::size_t>(std::ranges::count_if(entries, &Entry::isConnected))};
}

}  // namespace quorin::network
