#pragma once

#include "platform/network/interfaces.h"
#include "wire/endpoint.h"

#include <cstddef>
#include <optional>
#include <span>
#include <string_view>

/// The checks that a datagram passes before the server acts on it. Pure.
namespace quorin::wifi {

/// What a phone may ask of the server.
enum class Request { kHello, kPing, kStop };

/// Max length of a control message; longer datagrams are ignored.
inline constexpr std::size_t kMaxRequestBytes = 127;

/// Reads one received datagram: 1 to `kMaxRequestBytes` bytes of well-formed UTF-8 that contain a
/// token anywhere. With several tokens the first of HELLO, PING, STOP counts, wherever it stands.
/// None for all else, which gets no reply.
std::optional<Request> parseRequest(std::string_view datagram);

/// Whether a phone can have sent a datagram from `source` to `asked`, an address of this computer
/// and the server's port. A forged source would direct the stream at a victim: so it must be a
/// host's address, not the server's own, and either private or on a network of ours.
bool isPlausibleClient(const wire::Endpoint& source, const wire::Endpoint& asked,
                       std::span<const network::Subnet> ownNetworks);

}  // namespace quorin::wifi
