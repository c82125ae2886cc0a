#pragma once

#include <cstddef>
#include <span>

namespace quorin::usb {

/// True when a binary property list ("bplist00...") is a plain tree of at most
/// `kMaxExpandedBytes`.
///
/// The format refers to objects by number, so that a few bytes can describe a tree that fills
/// the memory when a reader copies each object as often as it is referred to (libplist does).
/// Here each container may be referred to once, and everything else as often as its size allows.
/// Nor may a text contain NUL, at which libplist ends the program.
inline constexpr std::size_t kMaxExpandedBytes = 1U << 20U;
bool isPlainBinaryPlist(std::span<const std::byte> data);

}  // namespace quorin::usb
