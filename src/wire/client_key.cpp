#include "wire/client_key.h"

#include <arpa/inet.h>

#include <array>
#include <charconv>

namespace quorin::wire {

ClientKey ClientKey::of(const sockaddr_in& source) {
  return {.address = ntohl(source.sin_addr.s_addr), .port = ntohs(source.sin_port)};
}

std::optional<ClientKey> ClientKey::parse(std::string_view text) {
  const auto colon = text.find(':');
  if (colon == std::string_view::npos) return std::nullopt;

  in_addr address{};
  if (inet_pton(AF_INET, std::string(text.substr(0, colon)).c_str(), &address) != 1) {
    return std::nullopt;
  }
  const auto digits = text.substr(colon + 1);
  ClientKey key{.address = ntohl(address.s_addr)};
  const auto [end, error] = std::from_chars(digits.begin(), digits.end(), key.port);
  if (error != std::errc{} || end != digits.end()) return std::nullopt;
  return key;
}

std::string ClientKey::text() const {
  std::array<char, INET_ADDRSTRLEN> dotted{};
  const in_addr networkOrder{.s_addr = htonl(address)};
  inet_ntop(AF_INET, &networkOrder, dotted.data(), dotted.size());
  return std::string(dotted.data()) + ':' + std::to_string(port);
}

sockaddr_in ClientKey::socketAddress() const {
  sockaddr_in result{};
  result.sin_family = AF_INET;
  result.sin_port = htons(port);
  result.sin_addr.s_addr = htonl(address);
  return result;
}

}  // namespace quorin::wire
