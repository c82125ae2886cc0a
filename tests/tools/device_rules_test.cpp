#include "quorin-device/arguments.h"
#include "quorin-device/former_defaults.h"
#include "quorin-device/login_file.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace quorin::device {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

TEST(DeviceArguments, AreOneCommandAndWhatGoesWithIt) {
  const struct {
    std::vector<std::string_view> words;
    std::optional<Arguments> arguments;  ///< none: wrong usage
  } cases[] = {
      {{"add"}, Arguments{.verb = Verb::kAdd}},
      {{"add", "--default", "--persist"},
       Arguments{.verb = Verb::kAdd, .persist = true, .makeDefault = true}},
      {{"--persist", "add"}, Arguments{.verb = Verb::kAdd, .persist = true}},
      {{"remove"}, Arguments{.verb = Verb::kRemove}},
      {{"status"}, Arguments{.verb = Verb::kStatus}},
      {{"--help"}, Arguments{.verb = Verb::kHelp}},
      {{"add", "-h"}, Arguments{.verb = Verb::kHelp}},
      {{"--version"}, Arguments{.verb = Verb::kVersion}},
      {{}, std::nullopt},
      {{"--default"}, std::nullopt},
      {{"add", "remove"}, std::nullopt},
      {{"remove", "--persist"}, std::nullopt},
      {{"status", "--default"}, std::nullopt},
      {{"create"}, std::nullopt},
      {{"add", "--force"}, std::nullopt},
      {{"add", ""}, std::nullopt},
  };
  for (const auto& [words, arguments] : cases) {
    std::string all;
    for (const auto word : words) all += std::string(word) + " ";
    SCOPED_TRACE(all);
    const auto parsed = parseArguments(words);
    ASSERT_EQ(parsed.has_value(), arguments.has_value());
    if (parsed) {
      EXPECT_EQ(*parsed, *arguments);
    } else {
      EXPECT_TRUE(parsed.error().ends_with('.')) << parsed.error();
    }
  }
}

TEST(FormerDefaults, RememberWhatTheDeviceReplaced) {
  const std::string ours = "quorin_audio";
  const std::string ourMonitor = "quorin_audio.monitor";
  const struct {
    const char* situation;
    Defaults current, remembered, result;
  } cases[] = {
      {"the first time", {"speaker", "microphone"}, {}, {"speaker", "microphone"}},
      {"again", {ours, ourMonitor}, {"speaker", "microphone"}, {"speaker", "microphone"}},
      {"again after a change", {"headset", ourMonitor}, {"speaker", "mic"}, {"headset", "mic"}},
      {"never chosen", {ours, ourMonitor}, {}, {}},
      {"no devices", {"auto_null", "auto_null.monitor"}, {"speaker", "mic"}, {}},
      {"no default yet", {"@DEFAULT_SINK@", "@DEFAULT_SOURCE@"}, {}, {}},
  };
  for (const auto& [situation, current, remembered, result] : cases) {
    EXPECT_EQ(toRemember(current, remembered), result) << situation;
  }
}

TEST(LoginScript, OfOursIncludesTheSystemsAndLeavesNothing) {
  const auto script = withDevice("", "/etc/pulse/default.pa");
  EXPECT_THAT(script, HasSubstr("\n.include /etc/pulse/default.pa\n"));
  EXPECT_THAT(script, HasSubstr("load-module module-null-sink sink_name=quorin_audio"));
  EXPECT_EQ(withDevice(script, "/etc/pulse/default.pa"), script) << "twice is once";
  EXPECT_EQ(withoutDevice(script), "");
}

TEST(LoginScript, OfThePersonsKeepsTheirLines) {
  const std::string mine = "load-module module-udev-detect\nset-default-sink x\n";
  const auto script = withDevice(mine, "/etc/pulse/default.pa");
  EXPECT_TRUE(script.starts_with(mine));
  EXPECT_THAT(script, Not(HasSubstr(".include")));
  EXPECT_EQ(withoutDevice(script), mine);
  EXPECT_EQ(withoutDevice(mine), mine);

  const std::string unfinished = "set-default-sink x";
  EXPECT_EQ(withoutDevice(withDevice(unfinished, "/etc")), unfinished + "\n");
}

TEST(LoginScript, ABlockWithoutItsLastLineIsNotTouched) {
  const std::string script = withDevice("", "/etc/pulse/default.pa");
  const std::string broken = script.substr(0, script.find("### end")) + "set-default-sink mine\n";
  EXPECT_EQ(withoutDevice(broken), broken);
}

TEST(LoginScript, LinesAddedToOneOfOursKeepWhatItIncluded) {
  const auto script = withDevice("", "/etc/pulse/default.pa") + "set-default-sink x\n";
  const std::string theirs = ".include /etc/pulse/default.pa\nset-default-sink x\n";
  EXPECT_EQ(withoutDevice(script), theirs);
  EXPECT_TRUE(withDevice(script, "/etc/pulse/default.pa").starts_with(theirs));
}

}  // namespace
}  // namespace quorin::device
