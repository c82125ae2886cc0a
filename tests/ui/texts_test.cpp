#include "ui/texts.h"

#include <gmock/gmock.h>

#include <QRegularExpression>

namespace quorin::app {
namespace {

TEST(CompiledTableTest, IsInTheFirstLanguageItKnows) {
  const std::pair<QStringList, const char*> cases[] = {
      {{"es-MX", "en"}, "es"}, {{"de", "es"}, "es"},    {{"de", "fr"}, "en"}, {{}, "en"},
      {{"est"}, "en"},         {{"en-US", "es"}, "en"},
  };
  for (const auto& [languages, table] : cases) {
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
    const bool isPattern = key.shape == Shape::kPattern;
    EXPECT_EQ(text.contains("%1"), isPattern) << key.name;
    EXPECT_EQ(text.count('%'), text.contains("%2") + isPattern) << key.name;
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

}  // namespace
}  // namespace quorin::app
