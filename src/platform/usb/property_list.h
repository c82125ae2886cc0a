#pragma once

#include <plist/plist.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>

/// Untrusted property lists: parsed only if parsing is cheap.
namespace quorin::usb {

struct FreePropertyList {
  void operator()(void* node) const { plist_free(node); }
};
/// A dictionary of libplist.
using PropertyList = std::unique_ptr<void, FreePropertyList>;

/// Reads a list, XML or binary, whose top is a dictionary. None when it is malformed, or built to
/// cost more than its size: a few bytes of the binary form can describe a tree that fills the
/// memory, a deep one the stack, and a text with a NUL makes libplist end the program.
PropertyList readPropertyList(std::span<const std::byte> bytes);

/// The entry `key` of a dictionary. Empty or none if missing or of another type.
std::string textIn(plist_t dictionary, const char* key);
std::optional<std::uint64_t> numberIn(plist_t dictionary, const char* key);

}  // namespace quorin::usb
