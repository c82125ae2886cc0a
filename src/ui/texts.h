#pragma once

#include <QString>
#include <QStringList>
#include <QTranslator>
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

/// The key of a text of this shape. A literal that no translation has does not compile.
template <Shape shape>
class TextKey {
 public:
  // NOLINTNEXTLINE(google-explicit-constructor): a key is written as its name
  consteval TextKey(const char* name) : name_(find(name).value().name_) {}

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

/// The user's languages, preferred first, as "es-ES" or "en"; `chosen` (from the command line),
/// if not empty, goes first.
QStringList preferredLanguages(const QString& chosen = {});

/// The user-visible texts, from tables built into the program. Main thread.
class Texts {
 public:
  /// In the first of `preferredLanguages` that there is a table for, else in English.
  explicit Texts(const QStringList& preferredLanguages);

  /// The key itself where the table has no text.
  QString tr(TrKey key) const { return find(key.name()); }

  /// With `n` put in, in the plural form for `n`.
  QString tr(TextKey<Shape::kFormat> key, int n) const { return find(key.name(), n); }

  template <typename... Arguments>
  QString tr(TextKey<Shape::kPattern> key, const Arguments&... arguments) const {
    return find(key.name()).arg(arguments...);
  }

  /// For texts looked up through Qt.
  QTranslator& translator() { return translator_; }

  /// "en" or "es".
  const QString& language() const { return language_; }

 private:
  QString find(const char* key, int n = -1) const;

  QString language_;
  QTranslator translator_;
};

}  // namespace quorin::app
