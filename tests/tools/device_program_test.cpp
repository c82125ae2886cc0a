#include "support/eventually.h"
#include "support/private_audio.h"
#include "support/temporary_directory.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace quorin::test {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;

const std::string kProgram = std::string(std::getenv("QUORIN_BIN")) + "/quorin-device";

/// PulseAudio as a login starts it, with the person's own start script.
class LoginPulse : public PrivatePulse {
 private:
  void launch() override {
    std::error_code ignored;
    fs::remove(folder_ / "native", ignored);
    processes_.emplace_back(
        ChildProcess::Command{.arguments = {"pulseaudio", "--daemonize=no", "--use-pid-file=no",
                                            "--exit-idle-time=-1", "-L",
                                            "module-native-protocol-unix auth-anonymous=1 socket=" +
                                                (folder_ / "native").string()},
                              .environment = environment_,
                              .output = folder_ / "pulseaudio.log"});
  }
};

enum class Kind { kPulse, kPipeWire };

class DeviceProgram : public ::testing::TestWithParam<Kind> {
 protected:
  void SetUp() override {
    const bool pulse = GetParam() == Kind::kPulse;
    if (!(pulse ? PrivatePulse::isInstalled() : PrivatePipeWire::isInstalled())) {
      GTEST_SKIP() << "no such audio server here";
    }
    if (pulse) {
      server = std::make_unique<LoginPulse>();
    } else {
      server = std::make_unique<PrivatePipeWire>();
    }
    for (const auto& entry : server->environment()) {
      if (entry.starts_with("XDG_RUNTIME_DIR=")) folder = entry.substr(entry.find('=') + 1);
    }
    ASSERT_TRUE(server->start()) << server->output();
    ASSERT_TRUE(server->addNullSink("speaker", "Speaker"));
    ASSERT_TRUE(server->setDefaultSink("speaker"));
    ASSERT_TRUE(server->setDefaultSource("speaker.monitor"));
    ASSERT_TRUE(defaultsBecome("speaker\nspeaker.monitor\n")) << defaults();
  }

  /// Runs the program; its exit status. What it wrote is in `output`.
  int run(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), kProgram);
    return runAny(std::move(arguments), output);
  }
  /// What pactl says.
  std::string ask(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "pactl");
    std::string answer;
    runAny(std::move(arguments), answer);
    return answer;
  }
  /// "output input", as the server names its defaults.
  std::string defaults() { return ask({"get-default-sink"}) + ask({"get-default-source"}); }
  bool defaultsBecome(const std::string& names) {
    return eventually([&] { return defaults() == names; });
  }
  int devices() {
    int count = 0;
    std::istringstream sinks(ask({"list", "short", "sinks"}));
    for (std::string line; std::getline(sinks, line);) {
      if (line.find("\tquorin_audio\t") != std::string::npos) ++count;
    }
    return count;
  }
  void removeSink(const std::string& name) {
    std::istringstream modules(ask({"list", "short", "modules"}));
    for (std::string line; std::getline(modules, line);) {
      if (line.find("sink_name=" + name) == std::string::npos) continue;
      ASSERT_TRUE(server->pactl({"unload-module", line.substr(0, line.find('\t'))}));
      return;
    }
    FAIL() << "no sink " << name;
  }
  /// The person's files of configuration, without the audio server's own.
  std::string configuration() const {
    return contentOf(folder / ".config/pulse/default.pa") +
           contentOf(folder / "pipewire/pipewire-pulse.conf.d/quorin-audio.conf");
  }

  std::unique_ptr<PrivateAudioServer> server;
  fs::path folder;
  std::string output;

 private:
  int runAny(std::vector<std::string> arguments, std::string& written) const {
    const auto log = folder / "written.txt";
    fs::remove(log);
    const int status = ChildProcess({.arguments = std::move(arguments),
                                     .environment = server->environment(),
                                     .output = log})
                           .wait();
    written = contentOf(log);
    return status;
  }
};

INSTANTIATE_TEST_SUITE_P(Servers, DeviceProgram, ::testing::Values(Kind::kPulse, Kind::kPipeWire),
                         [](const auto& test) {
                           return test.param == Kind::kPulse ? "PulseAudio" : "PipeWire";
                         });

TEST_P(DeviceProgram, AddsAndRemovesTheDeviceAsOftenAsAsked) {
  EXPECT_EQ(run({"add"}), 0) << output;
  EXPECT_EQ(run({"add"}), 0) << output;
  EXPECT_THAT(output, HasSubstr("there already"));
  EXPECT_EQ(devices(), 1);
  EXPECT_EQ(defaults(), "speaker\nspeaker.monitor\n") << "nobody asked for more";

  EXPECT_EQ(run({"remove"}), 0) << output;
  EXPECT_EQ(devices(), 0);
  EXPECT_EQ(run({"remove"}), 0) << output;
  EXPECT_THAT(output, HasSubstr("There is no device"));
  EXPECT_EQ(defaults(), "speaker\nspeaker.monitor\n");
}

TEST_P(DeviceProgram, MakesItTheDefaultSaysSoAndBringsTheFormerOnesBack) {
  EXPECT_EQ(run({"status"}), 3);
  EXPECT_THAT(output, HasSubstr("Default output:  Speaker  (not right)"));
  EXPECT_THAT(output, HasSubstr("the default output and input are not"));

  EXPECT_EQ(run({"add", "--default"}), 0) << output;
  EXPECT_EQ(defaults(), "quorin_audio\nquorin_audio.monitor\n");
  EXPECT_EQ(run({"status"}), 0);
  EXPECT_THAT(output, HasSubstr("Monitor of Quorin Audio  (right)"));

  EXPECT_EQ(run({"add", "--default"}), 0) << output;
  EXPECT_EQ(run({"remove"}), 0) << output;
  EXPECT_TRUE(defaultsBecome("speaker\nspeaker.monitor\n")) << defaults();
  EXPECT_FALSE(fs::exists(folder / "quorin-device")) << "nothing is remembered any more";
}

TEST_P(DeviceProgram, ADefaultChosenSinceStays) {
  ASSERT_TRUE(server->addNullSink("headset", "Headset"));
  EXPECT_EQ(run({"add", "--default"}), 0) << output;
  ASSERT_TRUE(server->setDefaultSink("headset"));
  ASSERT_TRUE(defaultsBecome("headset\nquorin_audio.monitor\n"));
  EXPECT_EQ(run({"remove"}), 0) << output;
  EXPECT_TRUE(defaultsBecome("headset\nspeaker.monitor\n")) << defaults();
}

TEST_P(DeviceProgram, AFormerDefaultThatIsGoneIsNamed) {
  EXPECT_EQ(run({"add", "--default"}), 0) << output;
  removeSink("speaker");
  EXPECT_EQ(run({"remove"}), 0) << output;
  EXPECT_THAT(output, HasSubstr("former default output speaker is not there"));
  EXPECT_EQ(devices(), 0);
}

TEST_P(DeviceProgram, PersistsAcrossLoginsAndLeavesNoTrace) {
  EXPECT_EQ(run({"add", "--persist"}), 0) << output;
  EXPECT_EQ(run({"add", "--persist"}), 0) << output;
  EXPECT_THAT(configuration(), HasSubstr("quorin_audio"));
  server->kill();
  ASSERT_TRUE(server->start()) << server->output();
  EXPECT_TRUE(eventually([&] { return devices() == 1; })) << server->output();
  EXPECT_NE(run({"status"}), 1);
  EXPECT_THAT(output, HasSubstr("there, created at every login"));

  EXPECT_EQ(run({"remove"}), 0) << output;
  EXPECT_EQ(devices(), 0);
  EXPECT_EQ(configuration(), "");
  EXPECT_FALSE(fs::exists(folder / ".config/pulse"));
  EXPECT_FALSE(fs::exists(folder / "pipewire"));
  server->kill();
  ASSERT_TRUE(server->start()) << server->output();
  EXPECT_EQ(devices(), 0);
}

TEST_P(DeviceProgram, WithoutAServerSaysSoAndStillForgetsTheLogin) {
  EXPECT_EQ(run({"add", "--persist"}), 0) << output;
  server->kill();
  for (const char* const verb : {"add", "remove", "status"}) {
    EXPECT_EQ(run({verb}), 1);
    EXPECT_THAT(output, HasSubstr("No audio server can be reached"));
  }
  EXPECT_EQ(configuration(), "");
}

TEST(DeviceProgramAlone, KnowsItsUsageAndIsNotForRoot) {
  const TemporaryDirectory folder;
  const auto log = folder.path() / "log";
  const auto status = [&](const std::string& argument) {
    return ChildProcess(
               {.arguments = {kProgram, argument}, .environment = {"PULSE_SERVER="}, .output = log})
        .wait();
  };
  EXPECT_EQ(status("--help"), 0);
  EXPECT_EQ(status("--version"), 0);
  EXPECT_EQ(status("nonsense"), 2);
  if (::geteuid() != 0) GTEST_SKIP() << "needs to be root to see the rest";
  fs::remove(log);
  EXPECT_EQ(status("status"), 1);
  EXPECT_THAT(contentOf(log), HasSubstr("as that person"));
}

}  // namespace
}  // namespace quorin::test
