#pragma once

#include "ui/text_keys.h"

#include <QString>
#include <QStringList>
#include <QTranslator>
#include <optional>
#include <string_view>

namespace quorin::app {

/// A string table: the localized texts of one language by key.
class StringTable {
 public:
  virtual ~StringTable() = default;

  /// The text of `key`; of a format, with `n` put in, in the plural form for `n`. The key itself
  /// when the table has no entry.
  virtual QString text(const char* key, std::optional<int> n = std::nullopt) const = 0;
};

/// The table that the program carries in itself, in the first of `preferredLanguages` it knows,
/// English when it knows none.
class CompiledTable : public StringTable {
 public:
  explicit CompiledTable(const QStringList& preferredLanguages);

  QString text(const char* key, std::optional<int> n = std::nullopt) const override;

  /// For texts that Qt's own way of lookup finds.
  QTranslator& translator() { return translator_; }

  /// "en" or "es".
  const QString& language() const { return language_; }

 private:
  QString language_;
  QTranslator translator_;
};

/// The user's languages, preferred first, as "es-ES" or "en"; `chosen` (from the command line)
/// stands in front of the system's where it is not empty.
QStringList preferredLanguages(const QString& chosen = {});

/// The texts that the user reads. Main thread.
class Texts {
 public:
  /// `bundle` must outlive this.
  Texts(const StringTable& bundle, QStringList preferredLanguages)
      : bundle_(bundle), preferredLanguages_(std::move(preferredLanguages)) {}

  /// From the bundle, else from the texts built in for the menu, else the key. A bundle's entry
  /// that equals its key counts as missing.
  QString tr(TrKey key) const { return find(key.name()); }
  QString tr(TextKey<Shape::kFormat> key, int n) const { return find(key.name(), n); }

  template <typename... Arguments>
  QString tr(TextKey<Shape::kPattern> key, const Arguments&... arguments) const {
    return find(key.name()).arg(arguments...);
  }

 private:
  QString find(const char* key, std::optional<int> n = std::nullopt) const;

  const StringTable& bundle_;
  QStringList preferredLanguages_;
};

}  // namespace quorin::app
