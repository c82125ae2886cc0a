#include "support/eventually.h"
#include "support/private_audio.h"
#include "support/sine_fit.h"
#include "whole/whole_program.h"

#include <gmock/gmock.h>

#include <chrono>
#include <span>

/// What a phone hears while devices, mixers and servers do their worst: 440 and 660 Hz play in the
/// right devices, 3000 Hz in the wrong one, which is never heard.
namespace quorin::whole {
namespace {

using namespace std::chrono_literals;

constexpr double kRight = 440;
constexpr double kAlsoRight = 660;
constexpr double kWrong = 3000;
constexpr double kAudible = 0.05;

class Ear : public ::testing::TestWithParam<const char*> {
 protected:
  void SetUp() override {
    const bool pulse = GetParam() == std::string_view("PulseAudio");
    if (!(pulse ? test::PrivatePulse::isInstalled() : test::PrivatePipeWire::isInstalled())) {
      GTEST_SKIP() << "no such audio server here";
    }
    if (pulse) {
      server_ = std::make_unique<test::PrivatePulse>();
    } else {
      server_ = std::make_unique<test::PrivatePipeWire>();
    }
    ASSERT_TRUE(server_->start()) << server_->output();
    ASSERT_TRUE(!pulse || server_->pactl({"load-module", "module-stream-restore"}));
    for (const auto& [sink, name, tone] : {std::tuple{"quorin", "Quorin Audio", kRight},
                                           {"quorin2", "Quorin Audio 2", kAlsoRight},
                                           {"other", "Built-in", kWrong}}) {
      ASSERT_TRUE(server_->addNullSink(sink, name, "norewinds=1"));
      play(sink, tone);
    }
    use("quorin");
    server_->useInThisProcess();
    ASSERT_TRUE(ip("address add 10.11.0.2/24 dev eth0"));
  }
  void TearDown() override { ip("address flush dev eth0"); }

  void play(const std::string& sink, double tone) {
    players_.push_back(server_->play({.frequency = tone, .seconds = 60, .sink = sink}));
  }
  void use(const std::string& device) {
    ASSERT_TRUE(server_->setDefaultSink(device));
    ASSERT_TRUE(server_->setDefaultSource(device + ".monitor"));
  }
  /// Somebody moves every recording to the wrong device, as a mixer does.
  void moveRecordings() {
    for (const auto& recording : server_->recordingNumbers()) {
      server_->pactl({"move-source-output", recording, "other.monitor"});
    }
  }

  void listen() {
    program_ = std::make_unique<WholeProgram>(app::StartMode::kWiFi);
    ASSERT_TRUE(program_->becomes("onlineContainer_"));
    phone_ = &program_->newPhone("10.11.0.2");
    phone_->says("<<HELLO>>");
    hear(kRight);
  }
  /// The tone comes within a second, whole, and nothing else.
  void hear(double tone) {
    phone_->says("<<PING>>");
    const auto before = phone_->sound.size();
    EXPECT_TRUE(program_->until(
        [&] { return phone_->sound.size() > before + 5 * kChunk && level(tone, 5 * kChunk) > 0.4; },
        1s));
    program_->runFor(500ms);
    EXPECT_GT(level(tone, 10 * kChunk), 0.3) << tone;
    expectNothingWrong();
  }
  void expectNothingWrong() const {
    const std::span all(phone_->sound);
    for (std::size_t at = 0; at + kChunk <= all.size(); at += kChunk) {
      ASSERT_LT(test::fitSine(all.subspan(at, kChunk), kWrong, 44100).level, kAudible)
          << "chunk " << at / kChunk << " of " << all.size() / kChunk;
    }
  }
  double level(double tone, std::size_t samples) const {
    return test::fitSine(std::span(phone_->sound).last(samples), tone, 44100).level;
  }

  static constexpr std::size_t kChunk = wire::kChunkFrames;
  std::unique_ptr<test::PrivateAudioServer> server_;
  std::vector<test::ChildProcess> players_;
  std::unique_ptr<WholeProgram> program_;
  Phone* phone_ = nullptr;
};

TEST_P(Ear, HearsOnlyTheRightDeviceWhateverMixersAndDefaultsDo) {
  {
    // A recording of the same name that was moved: servers remember that for the next one.
    const auto former = server_->record("Quorin Stream");
    ASSERT_TRUE(test::eventually([&] { return server_->recordings() == 1; }));
    moveRecordings();
  }
  listen();
  moveRecordings();
  hear(kRight);

  use("quorin2");
  hear(kAlsoRight);
  use("other");
  ASSERT_TRUE(program_->becomes("audioGuardView_", 3s));
  EXPECT_EQ(server_->recordings(), 0);
  expectNothingWrong();
}

TEST_P(Ear, HearsItAgainWithinASecondWhenDeviceOrServerAreBack) {
  listen();
  server_->freeze();
  program_->runFor(3s);
  phone_->says("<<PING>>");
  server_->thaw();
  hear(kRight);

  ASSERT_TRUE(server_->removeNullSink("quorin"));
  ASSERT_TRUE(server_->addNullSink("quorin", "Quorin Audio", "norewinds=1"));
  play("quorin", kRight);
  use("quorin");
  hear(kRight);
}

INSTANTIATE_TEST_SUITE_P(On, Ear, ::testing::Values("PulseAudio", "PipeWire"),
                         [](const auto& kind) { return std::string(kind.param); });

}  // namespace
}  // namespace quorin::whole
