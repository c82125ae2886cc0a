#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// Untrusted text: checking its encoding, and making it safe for a log, a terminal or a label.
namespace quorin::wire {

/// True for well-formed UTF-8: no overlong form, no surrogate, nothing above U+10FFFF, no cut
/// sequence. NUL is an ordinary character; the empty text is valid.
bool isValidUtf8(std::string_view bytes);

/// Enough for any readable text; more would only fill memory.
inline constexpr std::size_t kMaxDisplayedBytes = 1024;

/// `text`, well-formed UTF-8, or its first `kMaxDisplayedBytes` and "..."; never cut inside a
/// character.
std::string shortened(std::string text);

/// `text`, well-formed UTF-8, shortened, with U+FFFD in place of control characters, except tabs
/// and line breaks, and of characters that change the text direction: it can neither control a
/// terminal nor pass for other text.
std::string displayable(std::string_view text);

}  // namespace quorin::wire
