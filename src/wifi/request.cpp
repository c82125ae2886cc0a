#include "wifi/request.h"

#include "wire/control_message.h"

namespace quorin::wifi {

std::optional<Request> parseRequest(std::string_view datagram) {
  if (datagram.empty() || datagram.size() > kMaxRequestBytes) return std::nullopt;
  if (!wire::isValidUtf8(datagram)) return std::nullopt;

  if (datagram.contains(wire::kHello)) return Request::kHello;
  if (datagram.contains(wire::kPing)) return Request::kPing;
  if (datagram.contains(wire::kStop)) return Request::kStop;
  return std::nullopt;
}

}  // namespace quorin::wifi
