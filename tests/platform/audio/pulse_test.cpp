#include "platform/audio/audio_server.h"
#include "core/simulated_scheduler.h"
#include "platform/dispatch/system_scheduler.h"
#include "core/thread_safety.h"
#include "support/eventually.h"
#include "support/private_audio.h"
#include "support/sine_fit.h"

#include <gmock/gmock.h>

#include <QCoreApplication>
#include <algorithm>
#include <atomic>
#include <memory>
#include <vector>

/// The engine and the device list with real audio servers, which are this test's own.
namespace quorin::test {
namespace {

using namespace std::chrono_literals;
using audio::BufferView;
using audio::Format;
using testing::HasSubstr;

constexpr double kFrequency = 1000;

/// What the tap heard.
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

class AudioServerTest : public testing::Test {
 protected:
  void runServer(std::unique_ptr<PrivateAudioServer> server) {
    server_ = std::move(server);
    server_->useInThisProcess();
    startServer();
    connect();
  }
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
    audio_ = audio::connectToAudioServer(scheduler_->utilityQueue());
    audio_->setChangeHandler(scheduler_->mainQueue(), [this] { ++changes_; });
    engine_ = audio_->makeEngine();
    engine_->setInterruptionHandler(scheduler_->mainQueue(), [this](const audio::Error& error) {
      interruptions_.push_back(error.description);
    });
  }

  std::expected<void, audio::Error> record(audio::AudioEngine::NeededAt neededAt = {}) {
    recording_ = std::make_shared<Recording>();
    engine_->installTap(
        882, [to = recording_](const BufferView& buffer) { to->add(buffer); }, std::move(neededAt));
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
  std::vector<std::string> interruptions_;
  int changes_ = 0;
};

class PulseTest : public AudioServerTest {
 protected:
  void SetUp() override {
    if (!PrivatePulse::isInstalled()) GTEST_SKIP() << "pulseaudio and pulseaudio-utils are missing";
    runServer(std::make_unique<PrivatePulse>());
  }
};

class PipeWireTest : public AudioServerTest {
 protected:
  void SetUp() override {
    if (!PrivatePipeWire::isInstalled()) {
      GTEST_SKIP() << "pipewire, wireplumber, pipewire-pulse or dbus-daemon are missing";
    }
    runServer(std::make_unique<PrivatePipeWire>());
  }
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

TEST_F(PulseTest, SoundThatLiesWithTheServerUntilItIsNeededIsWhole) {
  const auto player = server_->play({.frequency = kFrequency, .seconds = 10, .sink = "quorin"});
  ASSERT_TRUE(record([] { return std::chrono::steady_clock::now() + 35ms; }));
  expectTheTone(48000);
}

TEST_F(PulseTest, ARecordingThatNeedsNothingYetHoldsUpNoOther) {
  ASSERT_TRUE(record([] { return std::chrono::steady_clock::now() + 1h; }));
  const auto other = audio_->makeEngine();
  std::atomic<int> blocks = 0;
  other->installTap(882, [&](const BufferView&) { ++blocks; }, {});
  EXPECT_TRUE(other->start());
  EXPECT_TRUE(eventually([&] { return blocks > 10; }));
}

TEST_F(PulseTest, NothingIsDeliveredAfterTheTapIsRemoved) {
  ASSERT_TRUE(record());
  ASSERT_TRUE(soon([&] { return recording_->size() > 0; }));
  engine_->removeTap();
  EXPECT_EQ(recording_.use_count(), 1);  // the handler is gone, not only silent
  engine_->stop();
  ASSERT_TRUE(record());
  engine_->stop();
  const auto heard = recording_->size();
  EXPECT_FALSE(eventually([&] { return recording_->size() != heard; }, 60ms));
}

TEST_F(PulseTest, FollowsTheDefaultSource) {
  ASSERT_TRUE(inputBecomes("Monitor of Quorin Audio"));
  const auto before = audio_->defaultDevices().input;
  const auto player = server_->play({.frequency = kFrequency, .seconds = 10, .sink = "other"});
  ASSERT_TRUE(record());
  changes_ = 0;
  ASSERT_TRUE(server_->setDefaultSource("other.monitor"));
  ASSERT_TRUE(inputBecomes("Monitor of Other"));
  EXPECT_TRUE(soon([&] { return changes_ > 0; }));
  EXPECT_NE(audio_->defaultDevices().input.number, before.number);
  expectTheTone(48000);  // a running recording keeps its format
  EXPECT_EQ(interruptions_, std::vector<std::string>{});
}

TEST_F(PulseTest, TheLastSourceMayVanish) {
  ASSERT_TRUE(record());
  ASSERT_TRUE(server_->pactl({"unload-module", "module-null-sink"}));
  ASSERT_TRUE(soon([&] { return !interruptions_.empty(); }));
  ASSERT_TRUE(soon([&] { return audio_->defaultDevices().input.number == 0; }));
  stopRecording();
  const auto started = record();
  ASSERT_FALSE(started);
  EXPECT_THAT(started.error().description, HasSubstr("no input device"));
}

TEST_F(PulseTest, TheServersDeathIsReportedAndALaterStartWorks) {
  ASSERT_TRUE(record());
  ASSERT_TRUE(soon([&] { return recording_->size() > 0; }));
  server_->kill();
  ASSERT_TRUE(soon([&] { return !interruptions_.empty(); }));
  ASSERT_TRUE(soon([&] { return audio_->defaultDevices() == audio::DefaultDevices{}; }));
  stopRecording();

  const auto withoutServer = record();
  ASSERT_FALSE(withoutServer);
  EXPECT_THAT(withoutServer.error().description, HasSubstr("cannot be reached"));
  stopRecording();

  startServer();
  const auto player = server_->play({.frequency = kFrequency, .seconds = 10, .sink = "quorin"});
  ASSERT_TRUE(record());  // does not wait for the next attempt to connect
  expectTheTone(48000);
  EXPECT_EQ(interruptions_.size(), 1U);
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

TEST_F(PipeWireTest, RecordsWhatIsPlayed) {
  ASSERT_TRUE(inputBecomes("Monitor of Quorin Audio"));
  const auto player = server_->play({.frequency = kFrequency, .seconds = 10, .sink = "quorin"});
  ASSERT_TRUE(record());
  expectTheTone(48000);
  EXPECT_EQ(recording_->content().blockFrames, 960U);
}

TEST(NoAudioServer, IsNoDevicesAndOneClearError) {
  ::setenv("PULSE_SERVER", "unix:/nonexistent/quorin", 1);
  dispatch::SimulatedScheduler scheduler;
  const auto audio = audio::connectToAudioServer(scheduler.utilityQueue());
  const auto engine = audio->makeEngine();
  EXPECT_FALSE(engine->inputFormat().exists());
  EXPECT_EQ(audio->defaultDevices(), audio::DefaultDevices{});
  EXPECT_EQ(audio->recordingAccess(), audio::RecordingAccess::kUnknown);
  engine->installTap(882, [](const BufferView&) {}, {});
  const auto started = engine->start();
  ASSERT_FALSE(started);
  EXPECT_THAT(started.error().description, HasSubstr("cannot be reached"));
}

TEST(NoAudioServer, IsForgottenBeforeItsLibrariesAreLoaded) {
  dispatch::SimulatedScheduler scheduler;
  audio::connectToAudioServer(scheduler.utilityQueue()).reset();
  scheduler.advance(std::chrono::seconds(1));
}

}  // namespace
}  // namespace quorin::test
