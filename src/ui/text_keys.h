#pragma once

#include <optional>
#include <string_view>

namespace quorin::app {

/// A format takes one integer, for which it may have a plural; a pattern takes texts: %1, %2.
enum class Shape { kText, kFormat, kPattern };

struct RegisteredKey {
  const char* name;
  Shape shape;
};

/// Every key that the program looks up: those of the translations (resources/translations), from
/// which the build makes this list.
inline constexpr RegisteredKey kTextKeys[] = {
#include "text_keys.inc"
};

constexpr bool isRegistered(std::string_view name, Shape shape) {
  for (const RegisteredKey& key : kTextKeys) {
    if (key.name == name) return key.shape == shape;
  }
  return false;
}

/// The key of a text of this shape. A literal that no translation has does not compile.
template <Shape shape>
class TextKey {
 public:
  // NOLINTNEXTLINE(google-explicit-constructor): a key is written as its name
  consteval TextKey(const char* name) : name_(name) {
    if (!isRegistered(name, shape)) throw "no text of this shape";
  }

  /// For a key that is only known when the program runs; none when no translation has it.
  static constexpr std::optional<TextKey> find(std::string_view name) {
    for (const RegisteredKey& key : kTextKeys) {
      if (key.name == name && key.shape == shape) return TextKey(key);
    }
    return std::nullopt;
  }

  constexpr const char* name() const { return name_; }

 private:
  explicit constexpr TextKey(const RegisteredKey& key) : name_(key.name) {}

  const char* name_;
};

using TrKey = TextKey<Shape::kText>;

}  // namespace quorin::app
