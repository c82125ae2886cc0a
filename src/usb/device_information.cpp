#include "usb/device_information.h"

#include "usb/binary_plist_check.h"
#include "wire/control_message.h"
#include "wire/displayable.h"

#include <plist/plist.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <map>
#include <memory>
#include <string_view>

namespace quorin::usb {
namespace {

constexpr int kMaxDepth = 16;
constexpr std::size_t kMaxDataBytes = 32;

struct FreePlist {
  void operator()(plist_t node) const { plist_free(node); }
};
using Plist = std::unique_ptr<void, FreePlist>;

struct Free {
  void operator()(void* memory) const { std::free(memory); }
};
using CString = std::unique_ptr<char, Free>;

template <typename... Values>
std::string print(const char* format, Values... values) {
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), format, values...);
  return text.data();
}

/// As it stands when it is a plain word, else in quotation marks with controls escaped.
std::string quoted(std::string_view text) {
  if (!wire::isValidUtf8(text)) return "(unreadable)";
  const auto isPlain = [](unsigned char c) { return std::isalnum(c) != 0; };
  if (!text.empty() && std::ranges::all_of(text, isPlain)) return std::string(text);
  std::string result = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') {
      result += {'\\', c};
    } else if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) {
      result += print("\\%03o", static_cast<unsigned>(static_cast<unsigned char>(c)));
    } else {
      result += c;
    }
  }
  return result + '"';
}

class Describer {
 public:
  void describe(plist_t node, int depth) {
    if (full()) return;
    if (depth > kMaxDepth) {
      text_ += "...";
      return;
    }
    switch (plist_get_node_type(node)) {
      case PLIST_DICT:
        return describeDictionary(node, depth);
      case PLIST_ARRAY:
        return describeArray(node, depth);
      default:
        text_ += scalar(node);
    }
  }

  std::string text() && { return wire::displayable(text_); }

 private:
  bool full() const { return text_.size() > wire::kMaxDisplayedBytes; }
  static std::string indent(int depth) {
    return std::string(4 * static_cast<std::size_t>(depth), ' ');
  }

  void describeDictionary(plist_t node, int depth) {
    std::multimap<std::string, plist_t> entries;
    plist_dict_iter iterator = nullptr;
    plist_dict_new_iter(node, &iterator);
    const std::unique_ptr<void, Free> owner(iterator);
    while (true) {
      char* key = nullptr;
      plist_t value = nullptr;
      plist_dict_next_item(node, iterator, &key, &value);
      const CString keyOwner(key);
      if (value == nullptr) break;
      entries.emplace(key != nullptr ? key : "", value);
    }
    text_ += "{\n";
    for (const auto& [key, value] : entries) {
      text_ += indent(depth + 1) + quoted(key) + " = ";
      describe(value, depth + 1);
      text_ += ";\n";
      if (full()) return;
    }
    text_ += indent(depth) + "}";
  }

  void describeArray(plist_t node, int depth) {
    const auto count = plist_array_get_size(node);
    text_ += "(\n";
    for (std::uint32_t i = 0; i < count && !full(); ++i) {
      text_ += indent(depth + 1);
      describe(plist_array_get_item(node, i), depth + 1);
      text_ += i + 1 < count ? ",\n" : "\n";
    }
    text_ += indent(depth) + ")";
  }

  static std::string scalar(plist_t node) {
    switch (plist_get_node_type(node)) {
      case PLIST_BOOLEAN: {
        std::uint8_t value = 0;
        plist_get_bool_val(node, &value);
        return value != 0 ? "1" : "0";
      }
      case PLIST_UINT: {
        std::uint64_t value = 0;
        plist_get_uint_val(node, &value);
        return std::to_string(static_cast<std::int64_t>(value));  // a negative one comes so too
      }
      case PLIST_UID: {
        std::uint64_t value = 0;
        plist_get_uid_val(node, &value);
        return std::to_string(value);
      }
      case PLIST_REAL: {
        double value = 0;
        plist_get_real_val(node, &value);
        return print("%g", value);
      }
      case PLIST_STRING: {
        char* value = nullptr;
        plist_get_string_val(node, &value);
        const CString owner(value);
        return quoted(value != nullptr ? value : "");
      }
      case PLIST_DATA:
        return data(node);
      case PLIST_DATE:
        return date(node);
      default:
        return "(unknown)";
    }
  }

  static std::string data(plist_t node) {
    char* value = nullptr;
    std::uint64_t length = 0;
    plist_get_data_val(node, &value, &length);
    const CString owner(value);
    std::string result = "<";
    for (std::size_t i = 0; i < std::min<std::uint64_t>(length, kMaxDataBytes); ++i) {
      result += print("%02x", static_cast<unsigned>(static_cast<unsigned char>(value[i])));
    }
    return result + (length > kMaxDataBytes ? "...>" : ">");
  }

  static std::string date(plist_t node) {
    constexpr std::time_t kEpoch = 978307200;  // property lists count from 2001-01-01
    std::int32_t seconds = 0;
    std::int32_t microseconds = 0;
    plist_get_date_val(node, &seconds, &microseconds);
    const std::time_t time = kEpoch + seconds;
    std::tm parts{};
    gmtime_r(&time, &parts);
    std::array<char, 40> text{};
    std::strftime(text.data(), text.size(), "\"%Y-%m-%d %H:%M:%S +0000\"", &parts);
    return text.data();
  }

  std::string text_;
};

Plist parse(std::span<const std::byte> payload) {
  if (payload.size() > kMaxDeviceInformationBytes) return nullptr;
  const auto* data = reinterpret_cast<const char*>(payload.data());
  const auto size = static_cast<std::uint32_t>(payload.size());
  plist_t node = nullptr;
  if (plist_is_binary(data, size) != 0) {
    if (isPlainBinaryPlist(payload)) plist_from_bin(data, size, &node);
  } else if (!payload.empty() && !std::string_view(data, size).contains('\0')) {
    plist_from_xml(data, size, &node);
  }
  return Plist(node);
}

}  // namespace

std::optional<std::string> describeDeviceInformation(std::span<const std::byte> payload) {
  const auto plist = parse(payload);
  if (!plist || plist_get_node_type(plist.get()) != PLIST_DICT) return std::nullopt;
  Describer describer;
  describer.describe(plist.get(), 0);
  return std::move(describer).text();
}

}  // namespace quorin::usb
