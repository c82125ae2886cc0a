#pragma once

#include <cstddef>
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

static_assert(kHello.size() == 9 && kPing.size() == 8 && kStop.size() == 8);
static_assert(kReady.size() == 9 && kPong.size() == 8 && kBusy.size() == 8);
static_assert(kFormat.size() == 57);

/// 9000: what the server binds unless the user types another port.
inline constexpr std::uint16_t kDefaultPort = 9000;

/// True for well-formed UTF-8: no overlong form, no surrogate, nothing above U+10FFFF, no cut
/// sequence. NUL is an ordinary character. The empty text is valid.
bool isValidUtf8(std::string_view bytes);

}  // namespace quorin::wire
