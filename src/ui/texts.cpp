#include "ui/texts.h"

#include <QLocale>
#include <algorithm>
#include <array>
#include <iterator>
#include <string_view>

namespace quorin::app {
namespace {

struct BuiltIn {
  std::string_view key;
  const char* english;
  const char* spanish;
};

// The hyphen of "Wi-Fi" and "USB-C" is U+2011, which no line breaks at.
constexpr std::array kBuiltIn = {
    BuiltIn{"menu.header", "How do you want to stream audio?", "¿Cómo quieres transmitir audio?"},
    BuiltIn{"cards.online.title", "Wi\u2011Fi Streaming", "Streaming por Wi\u2011Fi"},
    BuiltIn{"cards.online.note", "Same 5 GHz Wi\u2011Fi network", "Misma red Wi\u2011Fi de 5 GHz"},
    BuiltIn{"cards.offline.title", "USB Cable", "Cable USB"},
    BuiltIn{"cards.offline.note", "Use your iPhone charging cable (USB\u2011C or Lightning)",
            "Usa el cable de carga de tu iPhone (USB\u2011C o Lightning)"},
    BuiltIn{"footer.privacy", "Privacy & Terms", "Privacidad y Términos"},
    BuiltIn{"footer.copyright", "© The Quorin Stream authors", "© Los autores de Quorin Stream"},
};

constexpr std::array kCompiledLanguages = {"en", "es"};

QString primarySubtag(const QString& language) {
  return language.section(u'-', 0, 0);
}

}  // namespace

CompiledTable::CompiledTable(const QStringList& preferredLanguages) : language_("en") {
  const auto known = [](const QString& language) {
    return std::ranges::find(kCompiledLanguages, primarySubtag(language)) !=
           kCompiledLanguages.end();
  };
  const auto first = std::ranges::find_if(preferredLanguages, known);
  if (first != preferredLanguages.end()) language_ = primarySubtag(*first);
  [[maybe_unused]] const bool loaded =
      translator_.load(QStringLiteral(":/quorin/texts/quorin_%1.qm").arg(language_));
  Q_ASSERT(loaded);
}

QString CompiledTable::text(const char* key, std::optional<int> n) const {
  QString text = translator_.translate("", key, "", n.value_or(-1));
  if (text.isEmpty()) return QString::fromUtf8(key);
  if (n) text.replace(QStringLiteral("%n"), QString::number(*n));
  return text;
}

QStringList preferredLanguages(const QString& chosen) {
  QStringList languages = QLocale::system().uiLanguages();
  if (!chosen.isEmpty()) languages.prepend(chosen);
  return languages;
}

QString Texts::find(const char* key, std::optional<int> n) const {
  QString name = QString::fromUtf8(key);
  QString text = bundle_.text(key, n);
  if (!text.isEmpty() && text != name) return text;

  const QString language = preferredLanguages_.value(0, QStringLiteral("en"));
  const auto* const entry = std::ranges::find(kBuiltIn, std::string_view(key), &BuiltIn::key);
  if (entry == kBuiltIn.end()) return name;
  return QString::fromUtf8(language.startsWith(u"es") ? entry->spanish : entry->english);
}

}  // namespace quorin::app
