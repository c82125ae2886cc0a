#include "quorin-device/device_rules.h"

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

const Endpoint kSpeaker{.index = 1, .name = "speaker", .description = "Speaker"};
const Endpoint kMonitor{.index = 1, .name = "speaker.monitor", .description = "Speaker"};
const Endpoint kInput{.index = 2, .name = "quorin_audio_input", .description = "Quorin Audio"};
const Endpoint kSink{.index = 3, .name = "quorin_audio", .description = "Quorin Audio"};
const Endpoint kForeign{.index = 4, .name = "virtual", .description = "QUORIN AUDIO (2ch)"};

TEST(SoundLine, SaysWhyNothingIsHeard) {
  const Playback firefox{.index = 1, .sink = 1, .program = "Fire\tfox"};
  const Playback onDevice{.index = 1, .sink = 3, .program = "Firefox"};
  const Playback onForeign{.index = 1, .sink = 4, .program = "Firefox"};
  const Playback paused{.index = 1, .sink = 3, .program = "Firefox", .paused = true};
  const Playback loopback{.index = 1, .sink = 1, .program = "here", .isLoopback = true};
  auto muted = kSink;
  muted.muted = true;
  const struct {
    const char* situation;
    Endpoint device;
    std::vector<Playback> playbacks;
    const char* line;
    bool foreignIsDefault = false;
  } cases[] = {
      {"nothing plays", kSink, {}, "clear"},
      {"elsewhere", kSink, {firefox}, "elsewhere\tFire fox\tSpeaker"},
      {"silence on the device", kSink, {firefox, onDevice}, "elsewhere\tFire fox\tSpeaker"},
      {"paused on the device", kSink, {firefox, paused}, "elsewhere\tFire fox\tSpeaker"},
      {"only our loopback", kSink, {loopback}, "clear"},
      {"muted", muted, {onDevice}, "muted"},
      {"no device", kSpeaker, {firefox}, "clear"},
      {"another device of the name", kForeign, {firefox}, "elsewhere\tFire fox\tSpeaker"},
      {"another one is default", kSink, {onForeign}, "clear", true},
  };
  for (const auto& [situation, device, playbacks, line, foreignIsDefault] : cases) {
    Snapshot snapshot;
    snapshot.sinks = {kSpeaker, device};
    if (foreignIsDefault) {
      snapshot.sinks.push_back(kForeign);
      snapshot.defaultSink = kForeign.name;
    }
    snapshot.playbacks = playbacks;
    EXPECT_EQ(soundLine(snapshot), line) << situation;
  }
}

/// PulseAudio's start script, edited in a folder of its own.
TEST(LoginScript, KeepsTheUsersLinesAndLosesOnlyOurs) {
  const test::TemporaryDirectory folder;
  const ConfigFolders folders{.pulse = folder.path() / "pulse",
                              .systemPulse = folder.path() / "etc",
                              .pipeWire = folder.path() / "pipewire"};
  for (const auto& each : {folders.pulse, folders.systemPulse}) fs::create_directories(each);
  std::ofstream(folders.systemPulse / "default.pa") << "nop\n";
  const auto path = folders.pulse / "default.pa";
  const auto put = [&](const std::string& script) { std::ofstream(path) << script; };

  const std::string mine = "load-module module-udev-detect\nset-default-sink x\n";
  put(mine);
  persist(false, folders);
  const std::string block = test::contentOf(path).substr(mine.size());
  std::string dosBlock;
  for (const char c : block) dosBlock += c == '\n' ? std::string("\r\n") : std::string(1, c);
  const struct {
    const char* situation;
    std::string script;
    std::optional<std::string> rest;
  } cases[] = {
      {"the user's, then ours", mine + block, mine},
      {"without a last line end", mine + block.substr(0, block.size() - 1), mine},
      {"the user's without a last line end", "nop", "nop\n"},
      {"with DOS line ends", "nop\r\n" + dosBlock, "nop\r\n"},
      {"two blocks", mine + block + "nop\n" + block, mine + "nop\n"},
      {"a block without its end", mine + block.substr(0, block.find("### end")) + mine, {}},
  };
  for (const auto& [situation, script, rest] : cases) {
    SCOPED_TRACE(situation);
    put(script);
    if (!rest) {
      EXPECT_THROW(persist(false, folders), Error);
      EXPECT_THROW(unpersist(folders), Error);
    } else {
      for (int round = 0; round < 2; ++round) persist(false, folders);
      EXPECT_TRUE(unpersist(folders));
    }
    EXPECT_EQ(test::contentOf(path), rest.value_or(script));
  }

  fs::remove(path);
  const auto target = folder.path() / "dotfiles/default.pa";
  fs::create_symlink("../dotfiles/default.pa", path);
  persist(false, folders);
  EXPECT_TRUE(test::contentOf(target).starts_with(".include "));
  EXPECT_TRUE(unpersist(folders));
  EXPECT_TRUE(fs::is_symlink(path)) << "a link to what does not exist yet stays one";
  EXPECT_FALSE(fs::exists(target));
}

}  // namespace
}  // namespace quorin::device
