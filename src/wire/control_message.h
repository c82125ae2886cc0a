#pragma once

#include <cstdint>
#include <string_view>

/// The texts that a phone and a server exchange over UDP. Plain ASCII, one message a datagram,
/// no terminator: the datagram is exactly as long as the text.
namespace quorin::wire {

inline constexpr std::string_view kHello = "<<HELLO>>";
inline constexpr std::string_view kPing = "<<PING>>";
inline constexpr std::string_view kStop = "<<STOP>>";
inline constexpr std::string_view kReady = "<<READY>>";
inline constexpr std::string_view kPong = "<<PONG>>";
inline constexpr std::string_view kBusy = "<<BUSY>>";

/// Describes the 16-bit audio datagrams; fixed, like the format itself.
inline constexpr std::string_view kFormat =
    "<<FORMAT:SR=44100,DEPTH=16,ENDIAN=LITTLE,CH=1,CHUNK=882>>";

/// The server's, unless the user chooses another.
inline constexpr std::uint16_t kDefaultPort = 9000;

}  // namespace quorin::wire
