#include "core/thread_safety.h"
#include "platform/audio/audio_server.h"
#include "platform/dispatch/system_scheduler.h"
#include "support/both_servers.h"
#include "support/eventually.h"
#include "support/sine_fit.h"

#include <gmock/gmock.h>

#include <QCoreApplication>
#include <memory>
#include <vector>

/// The engine and the device list with a real audio server of the test's own.
namespace quorin::test {
namespace {

using audio::BufferView;
using audio::Format;
using testing::HasSubstr;

/// What the tap received.
class Recording {
 public:
  void add(const BufferView& buffer) {
    EXPECT_EQ(buffer.format, (Format{.sampleRate = 48000, .channels = 2}));
    EXPECT_EQ(buffer.frames(), 960U);
    const dispatch::Lock lock(mutex_);
    for (std::size_t i = 0; i < buffer.samples.size(); i += 2) left_.push_back(buffer.samples[i]);
  }
  std::vector<float> left() const {
    const dispatch::Lock lock(mutex_);
    return left_;
  }

 private:
  mutable dispatch::Mutex mutex_;
  std::vector<float> left_ GUARDED_BY(mutex_);
};

class PulseTest : public OnBothServers {
 protected:
  void SetUp() override {
    OnBothServers::SetUp();
    if (IsSkipped()) return;
    server_->useInThisProcess();
    ASSERT_TRUE(server_->addNullSink("quorin", "Quorin Audio", "rate=48000 norewinds=1"));
    ASSERT_TRUE(server_->setDefaultSource("quorin.monitor"));
    audio_ = audio::connectToAudioServer(scheduler_->backgroundQueue());
    engine_ = audio_->makeEngine(
        [](const audio::Device& source) { return source.name->contains("Quorin Audio"); });
  }

  std::expected<void, audio::Error> record() {
    recording_ = std::make_shared<Recording>();
    engine_->installTap(882, [to = recording_](const BufferView& buffer) { to->add(buffer); });
    return engine_->start();
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

  /// Soon half a second recorded is the tone, whole. (Not the first: on a busy machine a player may
  /// stumble as it begins.)
  void expectTheTone(double level) {
    SineFit fit;
    EXPECT_TRUE(soon([&] {
      const auto samples = recording_->left();
      if (samples.size() < 24000) return false;
      fit = fitSine(std::span(samples).last(24000), 1000, 48000);
      return fit.level > level && fit.worstDeviation < 0.02;
    })) << "level "
        << fit.level << ", deviation " << fit.worstDeviation;
  }

  int argc_ = 0;
  QCoreApplication application_{argc_, nullptr};
  std::unique_ptr<dispatch::Scheduler> scheduler_ = dispatch::makeSystemScheduler();
  std::unique_ptr<audio::AudioServer> audio_;
  std::unique_ptr<audio::AudioEngine> engine_;
  std::shared_ptr<Recording> recording_;
};

INSTANTIATE_TEST_SUITE_P(On, PulseTest, kBothServers);

TEST_P(PulseTest, FoldSurroundDownByItsChannelMap) {
  ASSERT_TRUE(server_->addNullSink(
      "cinema", "Quorin Audio 5.1",
      "rate=48000 norewinds=1 channels=6 "
      "channel_map=front-left,front-right,rear-left,rear-right,front-center,lfe"));
  ASSERT_TRUE(server_->setDefaultSource("cinema.monitor"));
  ASSERT_TRUE(inputBecomes("Monitor of Quorin Audio 5.1"));
  const auto player = server_->play(
      {.frequency = 1000, .seconds = 10, .sink = "cinema", .channelMap = "front-center"});
  ASSERT_TRUE(record());
  expectTheTone(0.5 / 4);  // -12 dB
}

class FrozenServer : public PulseTest {};
INSTANTIATE_TEST_SUITE_P(On, FrozenServer, testing::Values("PulseAudio"));

TEST_P(FrozenServer, AStartThatTheServerNeverAnsweredLeavesNoRecordingBehind) {
  ASSERT_TRUE(inputBecomes("Monitor of Quorin Audio"));
  server_->freeze();
  const auto started = record();
  ASSERT_FALSE(started);
  EXPECT_THAT(started.error().description, HasSubstr("does not answer"));
  engine_->removeTap();
  engine_->stop();
  server_->thaw();
  ASSERT_TRUE(record());  // answered after the former
  EXPECT_TRUE(soon([&] { return server_->recordings() == 1; })) << server_->recordings();
}

}  // namespace
}  // namespace quorin::test
