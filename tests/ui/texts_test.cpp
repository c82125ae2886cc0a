#include "ui/texts.h"

#include <gmock/gmock.h>

#include <QRegularExpression>

namespace quorin::app {
namespace {

TEST(TextsTest, IsInTheFirstLanguageItKnows) {
  const std::pair<QStringList, const char*> cases[] = {
      {{"es-MX", "en"}, "es"}, {{"de", "es"}, "es"},    {{"de", "fr"}, "en"}, {{}, "en"},
      {{"est"}, "en"},         {{"en-US", "es"}, "en"},
  };
  for (const auto& [languages, table] : cases) {
    EXPECT_EQ(Texts(languages).language(), table) << languages.join(',').toStdString();
  }
}

class EveryLanguage : public testing::TestWithParam<const char*> {};
INSTANTIATE_TEST_SUITE_P(Languages, EveryLanguage, testing::Values("en", "es"));

TEST_P(EveryLanguage, HasATextForEveryKey) {
  Texts texts({GetParam()});
  for (const RegisteredKey& key : kTextKeys) {
    const bool isFormat = key.shape == Shape::kFormat;
    const QString text = texts.translator().translate("", key.name, "", isFormat ? 7 : -1);
    EXPECT_NE(text, "") << key.name;
    EXPECT_EQ(text, text.trimmed()) << key.name;
    EXPECT_EQ(text.count("%n"), isFormat ? 1 : 0) << key.name << " takes one integer or none";
    EXPECT_EQ(text != texts.translator().translate("", key.name, "", 1), isFormat) << "a plural";
    const bool isPattern = key.shape == Shape::kPattern;
    EXPECT_EQ(text.contains("%1"), isPattern) << key.name;
    EXPECT_EQ(text.count('%'), text.count("%1") + text.count("%2") + isFormat) << key.name;
    EXPECT_FALSE(text.contains(QRegularExpression("Wi-Fi|USB-C")))
        << key.name << " may break there";
  }
}

}  // namespace
}  // namespace quorin::app
