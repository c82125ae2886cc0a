#include "quorin-device/arguments.h"
#include "quorin-device/former_defaults.h"
#include "quorin-device/login_file.h"
#include "support/temporary_directory.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

namespace quorin::device {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;
using ::testing::Not;

TEST(DeviceArguments, AreOneCommandAndWhatGoesWithIt) {
  const struct {
    std::vector<std::string_view> words;
    std::optional<Arguments> arguments;  ///< none: wrong usage
  } cases[] = {
      {{"add"}, Arguments{.verb = Verb::kAdd}},
      {{"lend"}, Arguments{.verb = Verb::kLend}},
      {{"add", "--default"}, Arguments{.verb = Verb::kAdd, .makeDefault = true}},
      {{"--persist", "add"}, Arguments{.verb = Verb::kAdd, .persist = true}},
      {{"remove"}, Arguments{.verb = Verb::kRemove}},
      {{"status"}, Arguments{.verb = Verb::kStatus}},
      {{"--help"}, Arguments{.verb = Verb::kHelp}},
      {{"add", "-h"}, Arguments{.verb = Verb::kHelp}},
      {{"--version"}, Arguments{.verb = Verb::kVersion}},
      {{}, std::nullopt},
      {{"--default"}, std::nullopt},
      {{"add", "remove"}, std::nullopt},
      {{"add", "--default", "--persist"}, std::nullopt},
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

const Endpoint kSpeaker{.index = 1, .name = "speaker", .description = "Speaker"};
const Endpoint kHeadset{.index = 2, .name = "headset", .description = "Headset"};
const Endpoint kSink{.index = 3, .name = "quorin_audio", .description = "Quorin Audio"};
const Endpoint kForeign{.index = 4, .name = "virtual", .description = "QUORIN AUDIO (2ch)"};

TEST(FormerDefaults, RememberWhatTheDeviceReplaced) {
  const struct {
    const char* situation;
    Defaults current, remembered, result;
  } cases[] = {
      {"the first time", {"speaker", "microphone"}, {}, {"speaker", "microphone"}},
      {"again", {"quorin_audio", "quorin_audio.monitor"}, {"speaker", "mic"}, {"speaker", "mic"}},
      {"after a change", {"headset", "quorin_audio_input"}, {"speaker", "mic"}, {"headset", "mic"}},
      {"never chosen", {"quorin_audio", "quorin_audio_input"}, {}, {}},
      {"another one of the name", {"virtual", "mic"}, {"speaker", ""}, {"speaker", "mic"}},
      {"no devices", {"auto_null", "auto_null.monitor"}, {"speaker", "mic"}, {"speaker", "mic"}},
      {"no default yet", {"@DEFAULT_SINK@", "@DEFAULT_SOURCE@"}, {}, {}},
  };
  for (const auto& [situation, current, remembered, result] : cases) {
    Snapshot snapshot;
    snapshot.sinks = {kSpeaker, kHeadset, kForeign};
    snapshot.defaultSink = current.output;
    snapshot.defaultSource = current.input;
    EXPECT_EQ(toRemember(snapshot, remembered), result) << situation;
  }
}

TEST(SoundLine, SaysWhyNothingIsHeard) {
  const Playback firefox{.index = 1, .sink = 1, .program = "Fire\tfox"};
  const auto with = [](Playback playback, auto change) {
    change(playback);
    return playback;
  };
  const auto onDevice = with(firefox, [](Playback& each) { each.sink = 3; });
  const auto paused = with(firefox, [](Playback& each) { each.paused = true; });
  const auto loopback = with(firefox, [](Playback& each) { each.isLoopback = true; });
  auto muted = kSink;
  muted.muted = true;
  const struct {
    const char* situation;
    Endpoint device;
    std::vector<Playback> playbacks;
    const char* line;
  } cases[] = {
      {"nothing plays", kSink, {}, "clear"},
      {"elsewhere", kSink, {firefox}, "elsewhere\tFire fox\tSpeaker"},
      {"on the device too", kSink, {firefox, onDevice}, "clear"},
      {"paused on the device", kSink, {firefox, paused}, "elsewhere\tFire fox\tSpeaker"},
      {"only our loopback", kSink, {loopback}, "clear"},
      {"muted", muted, {onDevice}, "muted"},
      {"no device", kHeadset, {firefox}, "clear"},
      {"another device of the name", kForeign, {firefox}, "elsewhere\tFire fox\tSpeaker"},
  };
  for (const auto& [situation, device, playbacks, line] : cases) {
    Snapshot snapshot;
    snapshot.sinks = {kSpeaker, device};
    snapshot.playbacks = playbacks;
    EXPECT_EQ(soundLine(snapshot), line) << situation;
  }
}

TEST(LoginScript, KeepsTheUsersLinesAndLosesOnlyOurs) {
  const std::string system = "/etc/pulse/default.pa";
  const std::string alone = withDevice("", system);
  EXPECT_THAT(alone, HasSubstr("\n.include /etc/pulse/default.pa\n"));
  EXPECT_THAT(alone, HasSubstr("load-module module-null-sink sink_name=quorin_audio"));
  EXPECT_THAT(alone, HasSubstr("load-module module-remap-source"));
  const std::string mine = "load-module module-udev-detect\nset-default-sink x\n";
  const std::string block = withDevice(mine, system).substr(mine.size());
  EXPECT_THAT(block, Not(HasSubstr(".include")));
  std::string dosBlock;
  for (const char c : block) dosBlock += c == '\n' ? std::string("\r\n") : std::string(1, c);

  const struct {
    const char* situation;
    std::string script;
    std::optional<std::string> rest;
  } cases[] = {
      {"ours alone", alone, ""},
      {"the user's, then ours", mine + block, mine},
      {"the user's alone", mine, mine},
      {"without a last line end", mine + block.substr(0, block.size() - 1), mine},
      {"with DOS line ends", "set-default-sink x\r\n" + dosBlock, "set-default-sink x\r\n"},
      {"two blocks", mine + block + "nop\n" + block, mine + "nop\n"},
      {"lines added to ours", alone + "nop\n", ".include /etc/pulse/default.pa\nnop\n"},
      {"a block without its end", mine + block.substr(0, block.find("### end")) + mine, {}},
  };
  for (const auto& [situation, script, rest] : cases) {
    SCOPED_TRACE(situation);
    EXPECT_EQ(withoutDevice(script), rest);
    if (!rest) continue;
    const auto with = withDevice(script, system);
    EXPECT_EQ(withoutDevice(with), rest);
    EXPECT_EQ(withDevice(with, system), with) << "twice is once";
  }
  EXPECT_EQ(withoutDevice(withDevice("nop", system)), "nop\n");
}

TEST(LoginFile, FollowsALinkToWhatDoesNotExistYet) {
  const test::TemporaryDirectory folder;
  const auto pulse = folder.path() / "pulse";
  fs::create_directories(pulse);
  fs::create_directories(folder.path() / "etc");
  std::ofstream(folder.path() / "etc/default.pa") << "nop\n";
  const auto target = folder.path() / "dotfiles/default.pa";
  fs::create_symlink("../dotfiles/default.pa", pulse / "default.pa");
  const ConfigFolders folders{
      .pulse = pulse, .systemPulse = folder.path() / "etc", .pipeWire = folder.path() / "pipewire"};
  ASSERT_TRUE(persist(false, folders));
  EXPECT_TRUE(fs::is_symlink(pulse / "default.pa"));
  EXPECT_TRUE(fs::exists(target));
  EXPECT_TRUE(unpersist(folders).value_or(false));
  EXPECT_TRUE(fs::is_symlink(pulse / "default.pa"));
  EXPECT_FALSE(fs::exists(target));
}

}  // namespace
}  // namespace quorin::device
