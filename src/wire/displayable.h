#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// Makes untrusted text safe for a log, a terminal or a label.
namespace quorin::wire {

/// Enough for any readable text; more would only fill memory.
inline constexpr std::size_t kMaxDisplayedBytes = 1024;

/// `text`, well-formed UTF-8, or its first `kMaxDisplayedBytes` and "..."; never cut inside a
/// character.
std::string shortened(std::string text);

/// `text`, well-formed UTF-8, shortened, with every control character but tabs and line breaks, and
/// every one that turns the direction of text, replaced by U+FFFD: it cannot control a terminal or
/// disguise itself as other text.
std::string displayable(std::string_view text);

}  // namespace quorin::wire
