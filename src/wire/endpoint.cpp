#include "wire/endpoint.h"

#include <arpa/inet.h>

#include <array>
#include <charconv>

namespace quorin::wire {

std::string addressText(std::uint32_t address) {
  std::array<char, INET_ADDRSTRLEN> dotted{};
  const in_addr networkOrder{.s_addr = htonl(address)};
  inet_ntop(AF_INET, &networkOrder, dotted.data(), dotted.size());
  return dotted.data();
}

std::optional<std::uint32_t> parseAddress(std::string_view text) {
  in_addr address{};
  if (inet_pton(AF_INET, std::string(text).c_str(), &address) != 1) return std::nullopt;
  return ntohl(address.s_addr);
}

Endpoint Endpoint::of(const sockaddr_in& address) {
  return {.address = ntohl(address.sin_addr.s_addr), .port = ntohs(address.sin_port)};
}

std::optional<Endpoint> Endpoint::parse(std::string_view text) {
  const auto colon = text.find(':');
  if (colon == std::string_view::npos) return std::nullopt;
  const auto address = parseAddress(text.substr(0, colon));
  if (!address) return std::nullopt;

  const auto digits = text.substr(colon + 1);
  Endpoint endpoint{.address = *address};
  const auto [end, error] = std::from_chars(digits.begin(), digits.end(), endpoint.port);
  if (error != std::errc{} || end != digits.end()) return std::nullopt;
  return endpoint;
}

std::string Endpoint::text() const {
  return addressText(address) + ':' + std::to_string(port);
}

sockaddr_in Endpoint::socketAddress() const {
  sockaddr_in result{};
  result.sin_family = AF_INET;
  result.sin_port = htons(port);
  result.sin_addr.s_addr = htonl(address);
  return result;
}

}  // namespace quorin::wire
