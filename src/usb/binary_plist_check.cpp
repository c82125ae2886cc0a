#include "usb/binary_plist_check.h"

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace quorin::usb {
namespace {

// Layout: magic, objects, offset table, trailer. An object begins with a marker byte: kind in the
// high half, count in the low half (15: an integer object with the count follows).
constexpr std::string_view kMagic = "bplist00";
constexpr std::size_t kTrailerBytes = 32;

struct Object {
  bool isContainer = false;
  std::size_t size = 0;          ///< with marker and content
  std::size_t referencesAt = 0;  ///< of a container
  std::size_t references = 0;
};

class Checker {
 public:
  explicit Checker(std::span<const std::byte> data) : data_(data) {}

  bool isPlain() {
    if (data_.size() < kMagic.size() + kTrailerBytes || !readTrailer()) return false;
    std::vector<bool> inside(objectCount_);  // containers that lie in another one
    std::size_t expanded = 0;
    for (std::size_t i = 0; i < objectCount_; ++i) {
      const auto object = readObject(i);
      if (!object) return false;
      expanded += object->size;
      for (std::size_t r = 0; r < object->references; ++r) {
        const auto target = readNumber(object->referencesAt + r * referenceBytes_, referenceBytes_);
        const auto child = target ? readObject(*target) : std::nullopt;
        if (!child) return false;
        if (child->isContainer && inside[*target]) return false;
        inside[*target] = true;
        expanded += child->size;
        if (expanded > kMaxExpandedBytes) return false;
      }
    }
    return !inside[topObject_];
  }

 private:
  std::optional<std::size_t> readNumber(std::size_t at, std::size_t bytes) const {
    if (bytes == 0 || bytes > 8 || at > data_.size() || bytes > data_.size() - at) {
      return std::nullopt;
    }
    std::uint64_t value = 0;
    for (const auto byte : data_.subspan(at, bytes)) {
      value = value << 8U | std::to_integer<std::uint64_t>(byte);
    }
    return value;
  }

  bool readTrailer() {
    const auto trailer = data_.size() - kTrailerBytes;
    offsetBytes_ = std::to_integer<std::size_t>(data_[trailer + 6]);
    referenceBytes_ = std::to_integer<std::size_t>(data_[trailer + 7]);
    objectCount_ = *readNumber(trailer + 8, 8);
    topObject_ = *readNumber(trailer + 16, 8);
    offsetTable_ = *readNumber(trailer + 24, 8);
    return objectCount_ > 0 && objectCount_ <= data_.size() && topObject_ < objectCount_ &&
           offsetTable_ <= data_.size();
  }

  std::optional<Object> readObject(std::size_t number) const {
    if (number >= objectCount_) return std::nullopt;
    const auto at = readNumber(offsetTable_ + number * offsetBytes_, offsetBytes_);
    if (!at || *at >= data_.size()) return std::nullopt;
    const auto marker = std::to_integer<unsigned>(data_[*at]);
    const auto kind = marker >> 4U;
    std::size_t count = marker & 0x0FU;
    std::size_t content = *at + 1;

    const bool hasLongCount = count == 15 && kind >= 0x4;
    if (hasLongCount) {
      const auto countMarker = readNumber(content, 1);
      if (!countMarker || *countMarker >> 4U != 0x1 || (*countMarker & 0x0FU) > 3) {
        return std::nullopt;
      }
      const auto countBytes = std::size_t{1} << (*countMarker & 0x0FU);
      const auto longCount = readNumber(content + 1, countBytes);
      if (!longCount) return std::nullopt;
      count = *longCount;
      content += 1 + countBytes;
    }
    if (count > data_.size()) return std::nullopt;

    switch (kind) {
      case 0x0:  // null, false, true
        return Object{.size = 1};
      case 0x1:  // integer
      case 0x2:  // real
      case 0x3:  // date
        return Object{.size = 1 + (std::size_t{1} << (count & 0x07U))};
      case 0x4:  // data
      case 0x8:  // number of an object, as archives have them
        return Object{.size = 1 + count};
      case 0x5:  // ASCII
        return string(content, count, 1);
      case 0x6:  // UTF-16
        return string(content, count, 2);
      case 0xA:  // array
      case 0xC:  // set
        return container(content, count);
      case 0xD:  // dictionary: keys, then values
        return container(content, 2 * count);
      default:
        return std::nullopt;
    }
  }

  std::optional<Object> string(std::size_t content, std::size_t count, std::size_t width) const {
    for (std::size_t i = 0; i < count; ++i) {
      if (readNumber(content + i * width, width).value_or(0) == 0) return std::nullopt;
    }
    return Object{.size = 1 + count * width};
  }

  Object container(std::size_t content, std::size_t references) const {
    return {.isContainer = true,
            .size = 1 + references * referenceBytes_,
            .referencesAt = content,
            .references = references};
  }

  std::span<const std::byte> data_;
  std::size_t offsetBytes_ = 0;
  std::size_t referenceBytes_ = 0;
  std::size_t objectCount_ = 0;
  std::size_t topObject_ = 0;
  std::size_t offsetTable_ = 0;
};

}  // namespace

bool isPlainBinaryPlist(std::span<const std::byte> data) {
  return Checker(data).isPlain();
}

}  // namespace quorin::usb
