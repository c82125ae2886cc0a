#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// Text from outside on its way to a log, a terminal or a label.
namespace quorin::wire {

/// Enough for anything a person reads; all beyond it would only fill memory.
inline constexpr std::size_t kMaxDisplayedBytes = 1024;

/// `text`, well-formed UTF-8, or its first `kMaxDisplayedBytes` and "..."; never cut inside a
/// character.
std::string shortened(std::string text);

/// `text`, well-formed UTF-8, shortened, with every control character but tabs and line breaks, and
/// every one that turns the direction of text, replaced by U+FFFD: it moves no cursor, rings no
/// bell and pretends to be no other text.
std::string displayable(std::string_view text);

}  // namespace quorin::wire
