#include "platform/posix/file_descriptor.h"
#include "support/both_servers.h"
#include "support/eventually.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <functional>

namespace quorin::test {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;

const std::string kSpeaker = "speaker speaker.monitor";
const std::string kDevice = "quorin_audio quorin_audio_input";
const std::string kProgram = test::builtPrograms() + "/quorin-device";

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
  int end() {
    input.reset();
    return process.wait();
  }
};
Lender lendOn(const PrivateAudioServer& server) {
  static int count = 0;
  const auto fifo = server.folder() / ("input" + std::to_string(++count));
  const auto log = server.folder() / ("lent" + std::to_string(count));
  ::mkfifo(fifo.c_str(), 0600);
  posix::FileDescriptor input(::open(fifo.c_str(), O_RDWR | O_CLOEXEC));
  const std::string command = "exec '" + kProgram + "' lend < '" + fifo.string() + "'";
  return {
      .process = ChildProcess(
          {.arguments = {"sh", "-c", command}, .environment = server.environment(), .output = log}),
      .input = std::move(input),
      .log = log};
}

class DeviceProgram : public OnBothServers {
 protected:
  DeviceProgram() : OnBothServers(true) {}

  void SetUp() override {
    OnBothServers::SetUp();
    if (IsSkipped()) return;
    ASSERT_TRUE(server_->addNullSink("speaker", "Speaker"));
    ASSERT_TRUE(server_->useDevices("speaker", "speaker.monitor"));
    ASSERT_TRUE(server_->defaultsBecome(kSpeaker)) << server_->defaults();
  }

  /// Runs the program; its exit status. What it wrote is in `output`.
  int run(std::vector<std::string> arguments) {
    const auto log = server_->folder() / "written.txt";
    fs::remove(log);
    arguments.insert(arguments.begin(), kProgram);
    const int status = ChildProcess({.arguments = std::move(arguments),
                                     .environment = server_->environment(),
                                     .output = log})
                           .wait();
    output = contentOf(log);
    return status;
  }
  std::ptrdiff_t devices() const {
    return std::ranges::count_if(server_->list("sinks"),
                                 [](auto& line) { return line.contains("\tquorin_audio\t"); });
  }
  void restart() {
    server_->kill();
    ASSERT_TRUE(server_->start()) << server_->output();
  }
  /// The user's files of configuration, without the audio server's own.
  std::string configuration() const {
    return contentOf(server_->folder() / ".config/pulse/default.pa") +
           contentOf(server_->folder() / "pipewire/pipewire-pulse.conf.d/quorin-audio.conf");
  }

  std::string output;
};

INSTANTIATE_TEST_SUITE_P(On, DeviceProgram, kBothServers,
                         [](const auto& test) { return std::string(test.param); });

TEST_P(DeviceProgram, AddsAndRemovesTheDeviceAsOftenAsAsked) {
  EXPECT_EQ(run({"status"}), 3);
  EXPECT_THAT(output, HasSubstr("Default output:  Speaker  (not right)"));
  EXPECT_EQ(run({"add"}), 0) << output;
  EXPECT_EQ(server_->defaults(), kSpeaker) << "only created";
  for (const int round : {1, 2}) {
    EXPECT_EQ(run({"add", "--default"}), 0) << output << round;
    EXPECT_EQ(devices(), 1);
    EXPECT_EQ(server_->defaults(), kDevice);
  }
  EXPECT_EQ(run({"status"}), 0);
  EXPECT_THAT(output, HasSubstr("Default input:   Quorin Audio  (right)")) << "no monitor";
  EXPECT_THAT(output, HasSubstr("Warning: a call"));
  for (const int round : {1, 2}) {
    EXPECT_EQ(run({"remove"}), 0) << output << round;
    EXPECT_EQ(devices(), 0);
    EXPECT_TRUE(server_->defaultsBecome(kSpeaker)) << server_->defaults();
  }
  EXPECT_FALSE(fs::exists(server_->folder() / "quorin-device")) << "nothing is remembered";

  // A default that was chosen since stays; a former one that is gone is named.
  ASSERT_TRUE(server_->addNullSink("headset", "Headset"));
  EXPECT_EQ(run({"add", "--default"}), 0) << output;
  ASSERT_TRUE(server_->setDefaultSink("headset"));
  ASSERT_TRUE(server_->defaultsBecome("headset quorin_audio_input"));
  EXPECT_EQ(run({"remove"}), 0) << output;
  EXPECT_TRUE(server_->defaultsBecome("headset speaker.monitor")) << server_->defaults();
  EXPECT_EQ(run({"add", "--default"}), 0) << output;
  ASSERT_TRUE(server_->removeNullSink("headset"));
  EXPECT_EQ(run({"remove"}), 0) << output;
  EXPECT_THAT(output, HasSubstr("former default output headset is not there"));
  EXPECT_EQ(devices(), 0);
}

TEST_P(DeviceProgram, LendsUntilItsInputEndsWhateverHappensMeanwhile) {
  ASSERT_TRUE(server_->addNullSink("headset", "Headset"));
  auto follows = server_->play({.frequency = 440, .seconds = 60, .sink = "@DEFAULT_SINK@"});
  auto pinned = server_->play({.frequency = 3000, .seconds = 60, .sink = "speaker"});
  const auto playing = [this](const std::string& sink, int count) {
    return eventually([&] { return server_->playbacksOn(sink) == count; });
  };
  ASSERT_TRUE(playing("speaker", 2));

  using Meanwhile = std::function<void(Lender&)>;
  const Meanwhile byHand = [this](Lender&) {
    ASSERT_TRUE(server_->setDefaultSink("headset"));  // PipeWire decides in a moment
    ASSERT_TRUE(eventually([&] { return server_->defaults().starts_with("headset"); }));
  };
  const Meanwhile killed = [this](Lender& lender) {
    lender.process.kill();
    lender = lendOn(*server_);  // takes over what the dead one has left
    ASSERT_TRUE(lender.says("ready"));
  };
  const auto movePlaybacks = [this](const std::string& sink) {
    for (const auto& line : server_->list("sink-inputs")) {
      server_->pactl({"move-sink-input", line.substr(0, line.find('\t')), sink});
    }
  };
  const Meanwhile alsoHere = [&](Lender& lender) {
    for (const bool on : {true, false}) {
      lender.tell(on ? "play-here on" : "play-here off");
      EXPECT_TRUE(lender.says(on ? "playing-here on" : "playing-here off"));
      EXPECT_TRUE(playing("speaker", on ? 1 : 0)) << "the loopback alone";
      movePlaybacks("quorin_audio");
      EXPECT_TRUE(playing("speaker", on ? 1 : 0)) << "which never feeds back";
    }
  };
  const Meanwhile muted = [this](Lender& lender) {
    for (const auto& silent : {std::vector<std::string>{"set-sink-mute", "quorin_audio", "1"},
                               {"set-sink-volume", "quorin_audio", "0"},
                               {"set-source-mute", "quorin_audio_input", "1"}}) {
      ASSERT_TRUE(server_->pactl(silent));
      EXPECT_TRUE(lender.says("muted"));
      lender.tell("move");
      EXPECT_TRUE(lender.says("clear"));
    }
  };
  const Meanwhile elsewhere = [&](Lender& lender) {
    movePlaybacks("speaker");
    EXPECT_TRUE(lender.says("elsewhere\tpacat\tSpeaker"));
    lender.tell("move");
    EXPECT_TRUE(lender.says("clear"));
    EXPECT_TRUE(playing("quorin_audio", 2));
  };
  const struct {
    const char* name;
    int signal;  ///< 0: the input ends
    Meanwhile meanwhile;
    std::string after;
  } cases[] = {
      {"end of input", 0, [](Lender&) {}, kSpeaker},
      {"SIGTERM", SIGTERM, [](Lender&) {}, kSpeaker},
      {"the lender killed and another one", 0, killed, kSpeaker},
      {"this computer plays too", 0, alsoHere, kSpeaker},
      {"muted by the user", 0, muted, kSpeaker},
      {"what plays was moved", 0, elsewhere, kSpeaker},
      {"another output chosen by the user", 0, byHand, "headset speaker.monitor"},
  };
  for (const auto& [name, signal, meanwhile, after] : cases) {
    SCOPED_TRACE(name);
    ASSERT_TRUE(server_->setDefaultSink("speaker"));
    ASSERT_TRUE(server_->defaultsBecome(kSpeaker)) << server_->defaults();
    auto lender = lendOn(*server_);
    ASSERT_TRUE(lender.says("ready")) << contentOf(lender.log);
    EXPECT_EQ(server_->defaults(), kDevice);
    EXPECT_TRUE(playing("quorin_audio", 2)) << "what played has moved";
    meanwhile(lender);
    const auto start = std::chrono::steady_clock::now();
    if (signal != 0) ::kill(lender.process.pid(), signal);
    EXPECT_EQ(signal == 0 ? lender.end() : lender.process.wait(), 0) << contentOf(lender.log);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
    EXPECT_TRUE(server_->defaultsBecome(after)) << server_->defaults();
    EXPECT_EQ(devices(), 0);
    EXPECT_EQ(server_->playbacksOn("speaker") + server_->playbacksOn("headset"), 2)
        << "nothing has stopped";
  }
}

TEST_P(DeviceProgram, LendsAgainWhenTheServerRestartsAndUsesWhatIsThere) {
  auto lender = lendOn(*server_);
  ASSERT_TRUE(lender.says("ready"));
  restart();
  ASSERT_TRUE(server_->addNullSink("speaker", "Speaker"));
  EXPECT_TRUE(server_->defaultsBecome(kDevice)) << server_->defaults();

  ASSERT_TRUE(server_->setDefaultSink("speaker"));
  ASSERT_TRUE(server_->defaultsBecome("speaker quorin_audio_input"));
  for (int look = 0; look < 2; ++look) {  // by the second answer it has seen the change
    lender.tell("play-here off");
    ASSERT_TRUE(lender.says("playing-here off"));
  }
  restart();
  ASSERT_TRUE(server_->addNullSink("speaker", "Speaker"));
  ASSERT_TRUE(lender.says("ready"));
  EXPECT_TRUE(server_->defaultsBecome("speaker quorin_audio_input")) << server_->defaults();
  EXPECT_EQ(run({"add"}), 1) << "it would go with the loan";
  EXPECT_THAT(output, HasSubstr("Quit quorin-stream first"));
  EXPECT_EQ(lender.end(), 0);
  EXPECT_EQ(devices(), 0);

  ASSERT_TRUE(server_->useDevices("speaker", "speaker.monitor"));
  EXPECT_EQ(run({"add"}), 0) << output;
  for (const bool isKilled : {true, false}) {
    lender = lendOn(*server_);
    ASSERT_TRUE(lender.says("ready"));
    if (isKilled) lender.process.kill();
  }
  EXPECT_EQ(lender.end(), 0);
  EXPECT_TRUE(server_->defaultsBecome(kSpeaker)) << server_->defaults();
  EXPECT_EQ(devices(), 1) << "it was there before";
}

TEST_P(DeviceProgram, AnswersAndGivesBackThoughTheServerIsFrozen) {
  if (GetParam() != std::string_view("PulseAudio")) GTEST_SKIP() << "not the server's matter";
  auto lender = lendOn(*server_);
  ASSERT_TRUE(lender.says("ready"));
  lender.tell("play-here on");
  ASSERT_TRUE(lender.says("playing-here on"));
  server_->freeze();
  lender.tell("lend");
  lender.input.reset();
  EXPECT_TRUE(eventually([&] { return contentOf(lender.log).contains("failed\tserver\t"); }));
  server_->thaw();
  EXPECT_EQ(lender.end(), 0);
  EXPECT_TRUE(server_->defaultsBecome(kSpeaker)) << server_->defaults();
  EXPECT_EQ(devices(), 0);
}

TEST_P(DeviceProgram, SaysThatTheServerForbidsIt) {
  if (GetParam() != std::string_view("PulseAudio")) GTEST_SKIP() << "cannot be told to here";
  const auto configuration = server_->folder() / ".config/pulse";
  fs::create_directories(configuration);
  std::ofstream(configuration / "daemon.conf") << "allow-module-loading = no\n";
  restart();
  EXPECT_EQ(run({"lend"}), 1);
  EXPECT_THAT(output, HasSubstr("failed\trefused\t"));
}

TEST_P(DeviceProgram, PersistsAcrossLoginsAndLeavesNoTrace) {
  for (const int round : {1, 2}) EXPECT_EQ(run({"add", "--persist"}), 0) << output << round;
  EXPECT_THAT(configuration(), HasSubstr("quorin_audio"));
  restart();
  EXPECT_TRUE(eventually([&] { return devices() == 1; })) << server_->output();
  EXPECT_NE(run({"status"}), 1);
  EXPECT_THAT(output, HasSubstr("there, as output and as input, created at every login"));

  EXPECT_EQ(run({"remove"}), 0) << output;
  EXPECT_EQ(devices(), 0);
  EXPECT_EQ(configuration(), "");
  EXPECT_FALSE(fs::exists(server_->folder() / ".config/pulse"));
  EXPECT_FALSE(fs::exists(server_->folder() / "pipewire"));
  restart();
  EXPECT_EQ(devices(), 0);

  EXPECT_EQ(run({"add", "--persist"}), 0) << output;
  server_->kill();
  for (const char* const verb : {"add", "remove", "status"}) {
    EXPECT_EQ(run({verb}), 1);
    EXPECT_THAT(output, HasSubstr("No sound server can be reached"));
  }
  EXPECT_EQ(configuration(), "") << "forgotten also without a server";
}

TEST(DeviceProgramAlone, KnowsItsUsageAndIsNotForRoot) {
  const std::pair<std::vector<std::string>, int> cases[] = {
      {{"--help"}, 0}, {{"nonsense"}, 2}, {{"add", "--persist", "--default"}, 2}, {{"status"}, 1}};
  for (auto [arguments, status] : cases) {
    if (status == 1 && ::geteuid() != 0) continue;  // root's part
    const auto verb = arguments.back();
    arguments.insert(arguments.begin(), kProgram);
    ChildProcess program({.arguments = arguments, .environment = {"PULSE_SERVER="}, .output = {}});
    EXPECT_EQ(program.wait(), status) << verb;
  }
}

}  // namespace
}  // namespace quorin::test
