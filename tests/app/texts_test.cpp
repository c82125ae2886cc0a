#include "app/texts.h"

#include <gmock/gmock.h>

#include <QMap>
#include <QRegularExpression>
#include <ostream>

void PrintTo(const QString& text, std::ostream* out) {
  *out << '"' << text.toStdString() << '"';
}

namespace quorin::app {
namespace {

/// A bundle with just the entries a test gives it.
class FakeTable : public StringTable {
 public:
  FakeTable() = default;
  explicit FakeTable(QMap<QString, QString> entries) : entries_(std::move(entries)) {}
  QString text(const char* key, std::optional<int> n) const override {
    return entries_.value(key, key).replace("%n", QString::number(n.value_or(-1)));
  }

 private:
  QMap<QString, QString> entries_;
};

struct Wanted {
  QStringList languages;
  QString result;
};

TEST(TextsTest, WithoutTableTheMenuSpeaksTheFirstPreferredLanguage) {
  const FakeTable empty;
  const QString english = "How do you want to stream audio?";
  const QString spanish = "¿Cómo quieres transmitir audio?";
  for (const auto& [languages, header] :
       {Wanted{{"en-GB"}, english}, Wanted{{"de-DE", "es"}, english}, Wanted{{}, english},
        Wanted{{"ES"}, english}, Wanted{{"es"}, spanish}, Wanted{{"es-ES", "en"}, spanish},
        Wanted{{"es-419"}, spanish}}) {
    EXPECT_EQ(Texts(empty, languages).tr("menu.header"), header)
        << languages.join(',').toStdString();
  }
}

TEST(TextsTest, WithoutTableOtherKeysShowThemselves) {
  const FakeTable empty;
  const Texts texts(empty, {"es"});
  EXPECT_EQ(texts.tr("alert.stop.title"), "alert.stop.title");
  EXPECT_EQ(texts.tr("status.connected.many", 3), "status.connected.many");
  EXPECT_EQ(texts.bundle("waiting_connection"), "waiting_connection");
}

TEST(TextsTest, BundleOutranksTheBuiltInTexts) {
  const FakeTable bundle({{"menu.header", "Hallo"}});
  EXPECT_EQ(Texts(bundle, {"es"}).tr("menu.header"), "Hallo");
}

TEST(TextsTest, BundleEntryThatIsEmptyOrEqualsItsKeyCountsAsMissing) {
  const FakeTable bundle({{"menu.header", "menu.header"}, {"cards.offline.title", ""}});
  const Texts texts(bundle, {"en"});
  EXPECT_EQ(texts.tr("menu.header"), "How do you want to stream audio?");
  EXPECT_EQ(texts.tr("cards.offline.title"), "USB Cable");
}

static_assert(isRegistered("status.ready", Lookup::kTr, Shape::kText));
static_assert(!isRegistered("no.such.key", Lookup::kTr, Shape::kText));
static_assert(!isRegistered("waiting_connection", Lookup::kTr, Shape::kText));
static_assert(!isRegistered("status.connected.many", Lookup::kTr, Shape::kText));

TEST(CompiledTableTest, IsInTheFirstLanguageItKnows) {
  for (const auto& [languages, table] :
       {Wanted{{"es-MX", "en"}, "es"}, Wanted{{"de", "es"}, "es"}, Wanted{{"de", "fr"}, "en"},
        Wanted{{}, "en"}, Wanted{{"en-US", "es"}, "en"}, Wanted{{"est"}, "en"}}) {
    EXPECT_EQ(CompiledTable(languages).language(), table) << languages.join(',').toStdString();
  }
}

class EveryLanguage : public testing::TestWithParam<const char*> {};
INSTANTIATE_TEST_SUITE_P(Languages, EveryLanguage, testing::Values("en", "es"));

TEST_P(EveryLanguage, HasATextForEveryKey) {
  const CompiledTable table({GetParam()});
  for (const RegisteredKey& key : kTextKeys) {
    const bool isFormat = key.shape == Shape::kFormat;
    const QString text = table.text(key.name, isFormat ? std::optional(7) : std::nullopt);
    EXPECT_NE(text, key.name) << "no text";
    EXPECT_EQ(text, text.trimmed()) << key.name;
    EXPECT_EQ(text.count("7"), isFormat ? 1 : 0) << key.name << " takes one integer or none";
    EXPECT_FALSE(text.contains('%')) << key.name << " has a placeholder too many";
    EXPECT_FALSE(text.contains(QRegularExpression("Wi-Fi|USB-C")))
        << key.name << " may break there";
  }
}

TEST(CompiledTableTest, CountsInProperPlurals) {
  const CompiledTable en({"en"});
  const CompiledTable es({"es"});
  EXPECT_EQ(en.text("status.connected.many", 2), "2 devices connected");
  EXPECT_EQ(es.text("status.connected.many", 10), "10 dispositivos conectados");
  EXPECT_EQ(en.text("network.generating_qr_in_seconds", 1), "New QR code in 1 second");
  EXPECT_EQ(en.text("network.generating_qr_in_seconds", 2), "New QR code in 2 seconds");
  EXPECT_EQ(es.text("network.generating_qr_in_seconds", 1), "Nuevo código QR en 1 segundo");
}

TEST(CompiledTableTest, SaysTheMenuAsTheBuiltInTextsDo) {
  const FakeTable empty;
  for (const char* language : {"en", "es"}) {
    const CompiledTable table({language});
    for (const TrKey key :
         {TrKey("menu.header"), TrKey("cards.online.title"), TrKey("cards.online.note"),
          TrKey("cards.offline.title"), TrKey("cards.offline.note"), TrKey("footer.privacy"),
          TrKey("footer.copyright")}) {
      EXPECT_EQ(Texts(table, {language}).tr(key), Texts(empty, {language}).tr(key)) << key.name();
    }
  }
}

TEST(PreferredLanguagesTest, ChosenLanguageStandsFirst) {
  EXPECT_EQ(preferredLanguages("es").value(0), "es");
  EXPECT_FALSE(preferredLanguages().isEmpty());
}

}  // namespace
}  // namespace quorin::app
