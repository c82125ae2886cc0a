#include "quorin-listen/options.h"

#include <gmock/gmock.h>

#include <vector>

namespace quorin::listen {
namespace {

using testing::HasSubstr;
using Arguments = std::vector<std::string_view>;

TEST(Options, AreReadInAnyOrder) {
  const Arguments arguments{"--wav",         "a.wav",  "--seconds", "2.5",
                            "10.0.0.7:9000", "--play", "--json"};
  const auto options = parseOptions(arguments);
  ASSERT_TRUE(options) << options.error();
  EXPECT_EQ(options->server.text(), "10.0.0.7:9000");
  EXPECT_EQ(options->wav, "a.wav");
  EXPECT_EQ(options->duration, std::chrono::milliseconds(2500));
  EXPECT_TRUE(options->play);
  EXPECT_TRUE(options->json);
  EXPECT_FALSE(options->sink);
}

TEST(Options, SomeNeedNothingElseOrMeanMore) {
  EXPECT_TRUE(parseOptions(Arguments{"--cable"})->cable);
  EXPECT_EQ(parseOptions(Arguments{"--port", "4000", "--cable"})->port, 4000);
  EXPECT_TRUE(parseOptions(Arguments{"1.2.3.4:5", "--sink", "speakers"})->play);
  EXPECT_EQ(parseOptions(Arguments{"--help"})->task, Options::Task::kHelp);
  EXPECT_EQ(parseOptions(Arguments{"1.2.3.4:5", "--version"})->task, Options::Task::kVersion);
}

TEST(Options, MistakesAreNamedInOneSentence) {
  struct Mistake {
    Arguments arguments;
    const char* named;
  };
  const std::vector<Mistake> mistakes{
      {{}, "ADDRESS:PORT is missing"},
      {{"phone"}, "\"phone\" is not ADDRESS:PORT"},
      {{"1.2.3.4"}, "\"1.2.3.4\" is not"},
      {{"1.2.3.4:0"}, "\"1.2.3.4:0\" is not"},
      {{"1.2.3.4:65536"}, "is not ADDRESS:PORT"},
      {{"1.2.3.4:5", "1.2.3.4:6"}, "\"1.2.3.4:6\" is too much"},
      {{"1.2.3.4:5", "--wav"}, "--wav needs a value"},
      {{"1.2.3.4:5", "--seconds"}, "--seconds needs a number"},
      {{"1.2.3.4:5", "--seconds", "0"}, "--seconds needs a number"},
      {{"1.2.3.4:5", "--seconds", "nan"}, "--seconds needs a number"},
      {{"1.2.3.4:5", "--seconds", "5s"}, "--seconds needs a number"},
      {{"1.2.3.4:5", "--cable"}, "leave ADDRESS:PORT out"},
      {{"1.2.3.4:5", "--port", "1"}, "--port goes with --cable"},
      {{"--cable", "--port", "0"}, "--port needs a number"},
      {{"--cable", "--port", "65536"}, "--port needs a number"},
      {{"1.2.3.4:5", "--loud"}, "no option \"--loud\""},
  };
  for (const auto& mistake : mistakes) {
    const auto options = parseOptions(mistake.arguments);
    ASSERT_FALSE(options) << mistake.named;
    EXPECT_THAT(options.error(), HasSubstr(mistake.named));
  }
}

}  // namespace
}  // namespace quorin::listen
