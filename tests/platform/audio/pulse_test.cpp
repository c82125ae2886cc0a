#include "core/thread_safety.h"
#include "platform/audio/audio_server.h"
#include "platform/dispatch/system_scheduler.h"
#include "support/both_servers.h"
#include "support/eventually.h"
#include "support/sine_fit.h"

#include <gmock/gmock.h>

#include <QCoreApplication>
#include <algorithm>
#include <memory>
#include <string_view>
#include <thread>
#include <vector>

/// The engine and the device list with a real audio server of the test's own.
namespace quorin::test {
namespace {

using namespace std::chrono_literals;
using audio::BufferView;
using audio::Format;
using testing::HasSubstr;

constexpr double kFrequency = 1000;

/// What the tap received.
class Recording {
 public:
  struct Content {
    Format format;
    std::size_t blockFrames = 0;
    std::vector<float> samples;  ///< of the first channel
  };

  void add(const BufferView& buffer) {
    const dispatch::Lock lock(mutex_);
    content_.format = buffer.format;
    content_.blockFrames = buffer.frames();
    for (std::size_t i = 0; i < buffer.samples.size(); i += buffer.format.channels) {
      content_.samples.push_back(buffer.samples[i]);
    }
  }
  Content content() const {
    const dispatch::Lock lock(mutex_);
    return content_;
  }
  std::size_t size() const {
    const dispatch::Lock lock(mutex_);
    return content_.samples.size();
  }

 private:
  mutable dispatch::Mutex mutex_;
  Content content_ GUARDED_BY(mutex_);
};

class PulseTest : public testing::Test {
 protected:
  void SetUp() override {
    server_ = makePrivateServer(kind());
    if (!server_) GTEST_SKIP() << kind() << " is missing";
    server_->useInThisProcess();
    startServer();
    connect();
  }
  virtual std::string_view kind() const { return "PulseAudio"; }
  void startServer() {
    ASSERT_TRUE(server_->start()) << server_->output();
    ASSERT_TRUE(server_->addNullSink("quorin", "Quorin Audio", "rate=48000 norewinds=1"))
        << server_->output();
    ASSERT_TRUE(server_->addNullSink("other", "Other", "rate=44100 norewinds=1"))
        << server_->output();
    ASSERT_TRUE(server_->setDefaultSink("quorin"));
    ASSERT_TRUE(server_->setDefaultSource("quorin.monitor"));
  }
  void connect() {
    audio_ = audio::connectToAudioServer(scheduler_->backgroundQueue());
    audio_->setChangeHandler(scheduler_->mainQueue(), [this] { ++changes_; });
    engine_ = audio_->makeEngine(
        [](const audio::Device& source) { return source.name->contains("Quorin Audio"); });
  }

  std::expected<void, audio::Error> record() {
    recording_ = std::make_shared<Recording>();
    engine_->installTap(882, [to = recording_](const BufferView& buffer) { to->add(buffer); });
    return engine_->start();
  }
  void stopRecording() {
    engine_->removeTap();
    engine_->stop();
    engine_->reset();
  }

  /// Waits with the main queue running.
  static bool soon(auto&& condition) {
    return eventually([&] {
      QCoreApplication::processEvents();
      return condition();
    });
  }
  bool inputBecomes(const std::string& name) {
    return soon([&] { return audio_->defaultDevices().input.name == name; });
  }

  /// Soon the last second recorded is the tone, whole. (Not the first: on a busy machine a player
  /// may stumble as it begins.)
  void expectTheTone(unsigned rate) {
    SineFit fit;
    std::size_t looked = rate;
    EXPECT_TRUE(soon([&] {
      if (recording_->size() < looked) return false;
      const auto samples = recording_->content().samples;
      looked = samples.size() + rate / 10;
      fit = fitSine(std::span(samples).last(rate), kFrequency, rate);
      return std::abs(fit.level - 0.5) < 0.01 && fit.worstDeviation < 0.02;
    })) << "level "
        << fit.level << ", deviation " << fit.worstDeviation << " in " << recording_->size();
  }

  int argc_ = 0;
  QCoreApplication application_{argc_, nullptr};
  std::unique_ptr<dispatch::Scheduler> scheduler_ = dispatch::makeSystemScheduler();
  std::unique_ptr<PrivateAudioServer> server_;
  std::unique_ptr<audio::AudioServer> audio_;
  std::unique_ptr<audio::AudioEngine> engine_;
  std::shared_ptr<Recording> recording_;
  int changes_ = 0;
};

TEST_F(PulseTest, RecordsWhatIsPlayedInBlocksOfTwentyMilliseconds) {
  EXPECT_EQ(engine_->inputFormat(), (Format{.sampleRate = 48000, .channels = 2}));
  const auto devices = audio_->defaultDevices();
  EXPECT_EQ(devices.output.name, "Quorin Audio");
  EXPECT_EQ(devices.input.name, "Monitor of Quorin Audio");
  EXPECT_NE(devices.output.number, 0U);
  EXPECT_NE(devices.input.number, 0U);

  const auto player = server_->play({.frequency = kFrequency, .seconds = 10, .sink = "quorin"});
  ASSERT_TRUE(record());
  EXPECT_EQ(audio_->recordingAccess(), audio::RecordingAccess::kGranted);
  expectTheTone(48000);
  EXPECT_EQ(recording_->content().blockFrames, 960U);
  EXPECT_EQ(recording_->content().format, engine_->inputFormat());
}

class BothServers : public PulseTest, public testing::WithParamInterface<const char*> {
 protected:
  std::string_view kind() const override { return GetParam(); }
};
INSTANTIATE_TEST_SUITE_P(On, BothServers, kBothServers);

TEST_P(BothServers, FoldSurroundDownByItsChannelMap) {
  ASSERT_TRUE(server_->addNullSink(
      "cinema", "Quorin Audio 5.1",
      "rate=48000 norewinds=1 channels=6 "
      "channel_map=front-left,front-right,rear-left,rear-right,front-center,lfe"));
  ASSERT_TRUE(server_->setDefaultSource("cinema.monitor"));
  ASSERT_TRUE(inputBecomes("Monitor of Quorin Audio 5.1"));
  const auto player = server_->play(
      {.frequency = kFrequency, .seconds = 10, .sink = "cinema", .channelMap = "front-center"});
  ASSERT_TRUE(record());
  EXPECT_TRUE(soon([&] {
    const auto samples = recording_->content().samples;
    return samples.size() > 24000 &&
           fitSine(std::span(samples).last(24000), kFrequency, 48000).level > 0.5 / 4;
  })) << "-12 dB";
  EXPECT_EQ(recording_->content().format.channels, 2U);
}

/// The server stands still, as by SIGSTOP or a suspend, and goes on: what it recorded until then is
/// not what comes a second later.
TEST_P(BothServers, AServerThatStoodStillIsInStepAgainWithinASecond) {
  ASSERT_TRUE(inputBecomes("Monitor of Quorin Audio"));
  const auto player = server_->play({.frequency = kFrequency, .seconds = 30, .sink = "quorin"});
  ASSERT_TRUE(record());
  expectTheTone(48000);
  server_->freeze();
  std::this_thread::sleep_for(3s);
  server_->thaw();
  std::this_thread::sleep_for(1s);
  const auto before = recording_->size();
  std::this_thread::sleep_for(2s);
  const auto frames = static_cast<double>(recording_->size() - before);
  EXPECT_NEAR(frames / 48000, 2, 0.1) << "neither silent nor a backlog";
  expectTheTone(48000);
}

TEST_F(PulseTest, TheServersDeathEndsNothing) {
  ASSERT_TRUE(record());
  ASSERT_TRUE(soon([&] { return recording_->size() > 0; }));
  server_->kill();
  ASSERT_TRUE(soon([&] { return audio_->defaultDevices() == audio::DefaultDevices{}; }));
  const auto other = audio_->makeEngine([](const auto&) { return true; });
  const auto withoutServer = other->start();
  ASSERT_FALSE(withoutServer);
  EXPECT_THAT(withoutServer.error().description, HasSubstr("cannot be reached"));

  startServer();
  const auto player = server_->play({.frequency = kFrequency, .seconds = 10, .sink = "quorin"});
  expectTheTone(48000);
}

TEST_F(PulseTest, AStartThatTheServerNeverAnsweredLeavesNoRecordingBehind) {
  ASSERT_TRUE(inputBecomes("Monitor of Quorin Audio"));
  server_->freeze();
  const auto started = record();
  ASSERT_FALSE(started);
  EXPECT_THAT(started.error().description, HasSubstr("does not answer"));
  stopRecording();
  server_->thaw();
  ASSERT_TRUE(record());  // answered after the former
  EXPECT_TRUE(soon([&] { return server_->recordings() == 1; })) << server_->recordings();
}

}  // namespace
}  // namespace quorin::test
