#include "platform/posix/file_descriptor.h"
#include "support/eventually.h"
#include "support/private_audio.h"
#include "support/temporary_directory.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace quorin::test {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;

const std::string kSpeaker = "speaker\nspeaker.monitor\n";
const std::string kDevice = "quorin_audio\nquorin_audio_input\n";
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
  int linesWith(const std::string& text, const std::string& kind) {
    int count = 0;
    std::istringstream lines(ask({"list", "short", kind}));
    for (std::string line; std::getline(lines, line);) count += line.contains(text);
    return count;
  }
  int devices() { return linesWith("\tquorin_audio\t", "sinks"); }
  int playbacksOn(const std::string& sink) {
    std::istringstream sinks(ask({"list", "short", "sinks"}));
    for (std::string line; std::getline(sinks, line);) {
      const auto number = line.substr(0, line.find('\t'));
      if (line.contains("\t" + sink + "\t")) {
        return linesWith("\t" + number + "\t", "sink-inputs");
      }
    }
    return 0;
  }

  /// `quorin-device lend` at work.
  struct Lender {
    ChildProcess process;
    posix::FileDescriptor input;
    fs::path log;

    bool says(const std::string& line) const {
      return eventually([&] { return contentOf(log).contains(line + "\n"); });
    }
    void tell(const std::string& line) const {
      fs::resize_file(log, 0);
      ASSERT_GT(::write(input.get(), (line + "\n").data(), line.size() + 1), 0);
    }
  };
  Lender lend() {
    static int count = 0;
    const auto fifo = folder / ("input" + std::to_string(++count));
    const auto log = folder / ("lent" + std::to_string(count));
    ::mkfifo(fifo.c_str(), 0600);
    posix::FileDescriptor input(::open(fifo.c_str(), O_RDWR | O_CLOEXEC));
    const std::string command = "exec '" + kProgram + "' lend < '" + fifo.string() + "'";
    return {.process = ChildProcess({.arguments = {"sh", "-c", command},
                                     .environment = server->environment(),
                                     .output = log}),
            .input = std::move(input),
            .log = log};
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
  EXPECT_EQ(run({"status"}), 3);
  EXPECT_THAT(output, HasSubstr("Default output:  Speaker  (not right)"));
  EXPECT_THAT(output, HasSubstr("the default output and input are not"));
  for (const int round : {1, 2}) {
    EXPECT_EQ(run({"add"}), 0) << output;
    EXPECT_EQ(devices(), 1) << round;
    EXPECT_EQ(defaults(), kSpeaker) << "only created";
  }
  for (const int round : {1, 2}) {
    EXPECT_EQ(run({"add", "--default"}), 0) << output << round;
    EXPECT_EQ(defaults(), kDevice);
  }
  EXPECT_EQ(run({"status"}), 0);
  EXPECT_THAT(output, HasSubstr("Default input:   Quorin Audio  (right)")) << "no monitor";
  EXPECT_THAT(output, HasSubstr("Warning: a call"));
  for (const int round : {1, 2}) {
    EXPECT_EQ(run({"remove"}), 0) << output;
    EXPECT_EQ(devices(), 0) << round;
    EXPECT_TRUE(defaultsBecome(kSpeaker)) << defaults();
  }
  EXPECT_FALSE(fs::exists(folder / "quorin-device")) << "nothing is remembered any more";
}

TEST_P(DeviceProgram, LendsUntilItsInputEndsWhateverHappensMeanwhile) {
  ASSERT_TRUE(server->addNullSink("headset", "Headset"));
  auto follows = server->play({.frequency = 440, .seconds = 60, .sink = "@DEFAULT_SINK@"});
  auto pinned = server->play({.frequency = 3000, .seconds = 60, .sink = "speaker"});
  const auto playing = [this](const std::string& sink, int count) {
    return eventually([&] { return playbacksOn(sink) == count; });
  };
  ASSERT_TRUE(playing("speaker", 2));

  using Meanwhile = std::function<void(Lender&)>;
  const Meanwhile nothing = [](Lender&) {};
  const Meanwhile byHand = [this](Lender&) { ASSERT_TRUE(server->setDefaultSink("headset")); };
  const Meanwhile killed = [this](Lender& lender) {
    lender.process.kill();
    lender = lend();  // takes over what the dead one has left
    ASSERT_TRUE(lender.says("ready"));
  };
  const Meanwhile alsoHere = [&playing](Lender& lender) {
    lender.tell("play-here on");
    EXPECT_TRUE(lender.says("playing-here on"));
    EXPECT_TRUE(playing("speaker", 1)) << "the loopback alone";
    lender.tell("play-here off");
    EXPECT_TRUE(lender.says("playing-here off"));
    EXPECT_TRUE(playing("speaker", 0));
  };
  const Meanwhile moved = [this](Lender& lender) {
    ASSERT_TRUE(server->pactl({"set-sink-mute", "quorin_audio", "1"}));
    EXPECT_TRUE(lender.says("muted"));
    lender.tell("move");
    EXPECT_TRUE(lender.says("clear"));
  };
  const struct {
    const char* name;
    int signal;  ///< 0: the input ends
    Meanwhile meanwhile;
    std::string after;
  } cases[] = {
      {"end of input", 0, nothing, kSpeaker},
      {"SIGTERM", SIGTERM, nothing, kSpeaker},
      {"SIGINT", SIGINT, nothing, kSpeaker},
      {"the lender killed and another one", 0, killed, kSpeaker},
      {"this computer plays too", 0, alsoHere, kSpeaker},
      {"muted by the user", 0, moved, kSpeaker},
      {"another output chosen by the user", 0, byHand, "headset\nspeaker.monitor\n"},
  };
  for (const auto& [name, signal, meanwhile, after] : cases) {
    SCOPED_TRACE(name);
    ASSERT_TRUE(server->setDefaultSink("speaker"));
    ASSERT_TRUE(defaultsBecome(kSpeaker)) << defaults();
    auto lender = lend();
    ASSERT_TRUE(lender.says("ready")) << contentOf(lender.log);
    EXPECT_EQ(defaults(), kDevice);
    EXPECT_TRUE(playing("quorin_audio", 2)) << "what played has moved";
    meanwhile(lender);
    const auto start = std::chrono::steady_clock::now();
    if (signal == 0) lender.input.reset();
    if (signal != 0) ::kill(lender.process.pid(), signal);
    EXPECT_EQ(lender.process.wait(), 0) << contentOf(lender.log);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
    EXPECT_TRUE(defaultsBecome(after)) << defaults();
    EXPECT_EQ(devices(), 0);
    EXPECT_EQ(playbacksOn("speaker") + playbacksOn("headset"), 2) << "nothing has stopped";
  }
}

TEST_P(DeviceProgram, LendsAgainWhenTheServerRestartsAndUsesWhatIsThere) {
  auto lender = lend();
  ASSERT_TRUE(lender.says("ready"));
  server->kill();
  fs::remove(lender.log);
  ASSERT_TRUE(server->start()) << server->output();
  ASSERT_TRUE(server->addNullSink("speaker", "Speaker"));
  EXPECT_TRUE(defaultsBecome(kDevice)) << defaults();
  lender.input.reset();
  EXPECT_EQ(lender.process.wait(), 0);
  EXPECT_EQ(devices(), 0);

  ASSERT_TRUE(server->setDefaultSink("speaker"));
  ASSERT_TRUE(server->setDefaultSource("speaker.monitor"));
  EXPECT_EQ(run({"add"}), 0) << output;
  lender = lend();
  ASSERT_TRUE(lender.says("ready"));
  lender.input.reset();
  EXPECT_EQ(lender.process.wait(), 0);
  EXPECT_TRUE(defaultsBecome(kSpeaker)) << defaults();
  EXPECT_EQ(devices(), 1) << "it was there before";
}

TEST_P(DeviceProgram, ADefaultChosenSinceStays) {
  ASSERT_TRUE(server->addNullSink("headset", "Headset"));
  EXPECT_EQ(run({"add", "--default"}), 0) << output;
  ASSERT_TRUE(server->setDefaultSink("headset"));
  ASSERT_TRUE(defaultsBecome("headset\nquorin_audio_input\n"));
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
  EXPECT_THAT(output, HasSubstr("there, as output and as input, created at every login"));

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
  EXPECT_THAT(contentOf(log), HasSubstr("as that user"));
}

}  // namespace
}  // namespace quorin::test
