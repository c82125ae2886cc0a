#pragma once

#include "ui/text_keys.h"

#include <QString>
#include <QStringList>
#include <QTranslator>

namespace quorin::app {

/// The user's languages, preferred first, as "es-ES" or "en"; `chosen` (from the command line)
/// stands in front of the system's where it is not empty.
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
