#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace quorin::wifi {

/// What a phone may ask of the server.
enum class Request { kHello, kPing, kStop };

/// Max length of a control message; longer datagrams are ignored.
inline constexpr std::size_t kMaxRequestBytes = 127;

/// Reads one received datagram: 1 to `kMaxRequestBytes` bytes of well-formed UTF-8 that contain a
/// token anywhere, whatever stands around it. With several tokens the first of HELLO, PING, STOP
/// counts, wherever it stands. None for all else, which gets no reply.
std::optional<Request> parseRequest(std::string_view datagram);

}  // namespace quorin::wifi
