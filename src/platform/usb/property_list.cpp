#include "platform/usb/property_list.h"

#include <algorithm>
#include <cstdlib>

namespace quorin::usb {
namespace {

constexpr int kMaxDepth = 32;
constexpr std::size_t kMaxNodes = 2000;
constexpr std::size_t kMaxExpandedBytes = 256 * 1024;

/// Walks a binary list from its top object as libplist will, each reference anew, within the
/// limits above.
///
/// Layout: magic, objects, offset table, trailer. An object begins with a marker byte: kind in the
/// high half, count in the low half (15: an integer object with the count follows).
class BinaryCheck {
 public:
  explicit BinaryCheck(std::span<const std::byte> data) : data_(data) {}

  bool passes() {
    if (data_.size() < 8 + 32) return false;  // magic and trailer
    const auto trailer = data_.size() - 32;
    offsetBytes_ = *number(trailer + 6, 1);
    referenceBytes_ = *number(trailer + 7, 1);
    objects_ = *number(trailer + 8, 8);
    offsetTable_ = *number(trailer + 24, 8);
    return objects_ <= data_.size() && offsetTable_ <= data_.size() &&
           walk(*number(trailer + 16, 8), 0);
  }

 private:
  std::optional<std::size_t> number(std::size_t at, std::size_t bytes) const {
    if (bytes == 0 || bytes > 8 || at > data_.size() || bytes > data_.size() - at) return {};
    std::size_t value = 0;
    for (const auto byte : data_.subspan(at, bytes)) {
      value = value << 8U | std::to_integer<std::size_t>(byte);
    }
    return value;
  }

  bool walk(std::size_t object, int depth) {
    if (object >= objects_ || depth > kMaxDepth || ++nodes_ > kMaxNodes) return false;
    const auto at = number(offsetTable_ + object * offsetBytes_, offsetBytes_);
    const auto marker = at ? number(*at, 1) : std::nullopt;
    if (!marker) return false;
    const auto kind = *marker >> 4U;
    auto count = *marker & 0x0FU;
    auto content = *at + 1;
    if (count == 15 && kind >= 0x4) {
      const auto size = number(content, 1).value_or(0);
      const auto bytes = std::size_t{1} << (size & 0x0FU);
      const auto longCount = size >> 4U == 0x1 ? number(content + 1, bytes) : std::nullopt;
      if (!longCount || *longCount > data_.size()) return false;
      count = *longCount;
      content += 1 + bytes;
    }
    if (kind == 0x0) return *marker == 0x08 || *marker == 0x09;  // Booleans; null has no XML
    if (kind <= 0x3 || kind == 0x8) return true;                 // number, date, object's number
    if (kind == 0x4) return (expanded_ += count) <= kMaxExpandedBytes;          // data
    if (kind == 0x5 || kind == 0x6) return isText(content, count, kind - 0x4);  // ASCII, UTF-16
    if (kind == 0xA) return walkAll(content, count, depth);                     // array
    return kind == 0xD && walkAll(content, 2 * count, depth);  // dictionary: keys, then values
  }

  bool isText(std::size_t at, std::size_t count, std::size_t width) {
    if ((expanded_ += count * width) > kMaxExpandedBytes) return false;
    for (std::size_t i = 0; i < count; ++i) {
      if (number(at + i * width, width).value_or(0) == 0) return false;
    }
    return true;
  }

  bool walkAll(std::size_t at, std::size_t count, int depth) {
    for (std::size_t i = 0; i < count; ++i) {
      const auto object = number(at + i * referenceBytes_, referenceBytes_);
      if (!object || !walk(*object, depth + 1)) return false;
    }
    return true;
  }

  std::span<const std::byte> data_;
  std::size_t offsetBytes_ = 0;
  std::size_t referenceBytes_ = 0;
  std::size_t objects_ = 0;
  std::size_t offsetTable_ = 0;
  std::size_t nodes_ = 0;
  std::size_t expanded_ = 0;
};

/// Few tags, for a bound on nodes and nesting, and few escapes, each of which moves the rest of its
/// text.
bool isCheapXml(std::string_view text) {
  return !text.contains('\0') && std::ranges::count(text, '<') <= 1000 &&
         std::ranges::count(text, '&') <= 256;
}

}  // namespace

PropertyList readPropertyList(std::span<const std::byte> bytes) {
  const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  const auto size = static_cast<std::uint32_t>(text.size());
  plist_t node = nullptr;
  if (text.starts_with("bplist00")) {
    if (BinaryCheck(bytes).passes()) plist_from_bin(text.data(), size, &node);
  } else if (!text.empty() && isCheapXml(text)) {
    plist_from_xml(text.data(), size, &node);
  }
  PropertyList list(node);
  if (list && plist_get_node_type(node) != PLIST_DICT) list.reset();
  return list;
}

std::string textIn(plist_t dictionary, const char* key) {
  char* value = nullptr;
  if (const auto item = plist_dict_get_item(dictionary, key)) plist_get_string_val(item, &value);
  std::string text = value != nullptr ? value : "";
  std::free(value);
  return text;
}

std::optional<std::uint64_t> numberIn(plist_t dictionary, const char* key) {
  const auto item = plist_dict_get_item(dictionary, key);
  if (item == nullptr || plist_get_node_type(item) != PLIST_UINT) return std::nullopt;
  std::uint64_t value = 0;
  plist_get_uint_val(item, &value);
  return value;
}

}  // namespace quorin::usb
