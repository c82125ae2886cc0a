#include "ui/texts.h"

#include <QLocale>

namespace quorin::app {

QStringList preferredLanguages(const QString& chosen) {
  QStringList languages = QLocale::system().uiLanguages();
  if (!chosen.isEmpty()) languages.prepend(chosen);
  return languages;
}

Texts::Texts(const QStringList& preferredLanguages) {
  for (const QString& preferred : preferredLanguages + QStringList("en")) {
    language_ = preferred.section(u'-', 0, 0);
    if (translator_.load(":/quorin/texts/quorin_" + language_ + ".qm")) break;
  }
}

QString Texts::find(const char* key, int n) const {
  QString text = translator_.translate("", key, "", n);
  if (text.isEmpty()) return QString::fromUtf8(key);
  return text.replace("%n", QString::number(n));
}

}  // namespace quorin::app
