#include "audio/audio_capture_manager.h"

#include "audio/capture_fixture.h"

#include <utility>

namespace quorin::test {
namespace {

using audio::BufferView;
using audio::Format;
using audio::SampleConverter;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;
using namespace std::chrono_literals;

/// What the converter is asked, and what it shall answer.
struct Script {
  std::vector<std::size_t> capacities;
  SampleConverter::Status status = SampleConverter::Status::kHaveData;
  std::string error;
};

class ScriptedConverter : public SampleConverter {
 public:
  explicit ScriptedConverter(Script& script) : script_(script) {}

  Result convert(const BufferView& /*input*/, std::size_t capacity) override {
    script_.capacities.push_back(capacity);
    output_.assign(capacity, 0.5F);
    return {.status = script_.status, .output = output_, .error = script_.error};
  }
  std::string description() const override { return "scripted"; }

 private:
  Script& script_;
  std::vector<float> output_;
};

class AudioCaptureManagerTest : public CaptureTest {
 protected:
  AudioCaptureManagerTest() {
    createManager([this](const Format&, const Format&) -> std::unique_ptr<SampleConverter> {
      if (!canConvert_) return nullptr;
      return std::make_unique<ScriptedConverter>(script_);
    });
  }

  Script script_;
  bool canConvert_ = true;
};

TEST_F(AudioCaptureManagerTest, StartAndStopTellWhatTheyDo) {
  manager_->startCapture();
  EXPECT_THAT(takeLines(),
              ElementsAre("🎤 Formato ORIGINAL de entrada: 2 ch, 48000 Hz, Float32, interleaved",
                          "🎯 Formato TARGET: 1 ch, 44100 Hz, Float32",
                          "⚡ Instalando tap con buffer de 882 frames (20.00 ms)",
                          "✅ ✅ ✅ Motor de audio INICIADO con buffer de 882 frames"));
  EXPECT_THAT(engine_->calls, ElementsAre("install 882", "start"));
  EXPECT_TRUE(manager_->isCapturing());

  engine_->calls.clear();
  manager_->stopCapture();
  EXPECT_THAT(takeLines(), ElementsAre("⏹️ Captura detenida"));
  EXPECT_THAT(engine_->calls, ElementsAre("remove", "stop", "reset"));
  EXPECT_FALSE(manager_->isCapturing());
}

TEST_F(AudioCaptureManagerTest, ASecondStartOrStopIsSilentAndChangesNothing) {
  manager_->stopCapture();
  EXPECT_THAT(takeLines(), IsEmpty());
  startQuietly();
  manager_->startCapture();
  EXPECT_THAT(takeLines(), IsEmpty());
  EXPECT_THAT(engine_->calls, IsEmpty());
  EXPECT_TRUE(engine_->hasTap());
}

TEST_F(AudioCaptureManagerTest, AFailedStartLeavesNothingBehind) {
  engine_->startFailure = "no server";
  manager_->startCapture();
  EXPECT_EQ(lines_.back(), "❌ Error iniciando motor: no server");
  EXPECT_FALSE(manager_->isCapturing());
  EXPECT_FALSE(engine_->hasTap());

  engine_->startFailure.reset();
  startQuietly();
  deliver(960);
  EXPECT_THAT(chunks_, SizeIs(1));
}

TEST_F(AudioCaptureManagerTest, AConverterIsMadeOncePerCaptureAndAnnounced) {
  startQuietly();
  deliver(960);
  deliver(960);
  const auto created = std::string(
      "🔧 Convertidor creado: scripted | from 2 ch, 48000 Hz, Float32, interleaved to 1 ch, 44100 "
      "Hz, Float32");
  EXPECT_THAT(takeLines(), ElementsAre(created));

  deliver(480);  // half a chunk, which the stop throws away
  manager_->stopCapture();
  startQuietly();
  deliver(480);
  EXPECT_THAT(takeLines(), ElementsAre(created));
  EXPECT_THAT(chunks_, SizeIs(2));
}

TEST_F(AudioCaptureManagerTest, AConverterThatCannotBeMadeIsTriedAgainWithEachBuffer) {
  canConvert_ = false;
  startQuietly();
  deliver(960);
  deliver(960);
  EXPECT_THAT(takeLines(), ElementsAre("❌ Error creando convertidor dinámico",
                                       "❌ Error creando convertidor dinámico"));
  canConvert_ = true;
  deliver(960);
  EXPECT_THAT(takeLines(), ElementsAre(StartsWith("🔧 Convertidor creado: ")));
  EXPECT_THAT(chunks_, SizeIs(1));
}

TEST_F(AudioCaptureManagerTest, AConversionErrorDropsItsBufferAndKeepsWhatWaited) {
  startQuietly();
  deliver(480);
  takeLines();
  script_.status = SampleConverter::Status::kError;
  script_.error = "broken";
  deliver(480);
  script_.error.clear();
  deliver(480);
  EXPECT_THAT(takeLines(),
              ElementsAre("❌ Error en conversión: broken", "❌ Error en conversión: unknown"));
  EXPECT_THAT(chunks_, IsEmpty());
  script_.status = SampleConverter::Status::kInputRanDry;
  deliver(480);
  EXPECT_THAT(chunks_, SizeIs(1));
}

TEST_F(AudioCaptureManagerTest, StatisticsComeWithTheFirstBufferAfterEachSecond) {
  startQuietly();
  for (int buffer = 1; buffer < 50; ++buffer) {
    scheduler_.advance(20ms);
    deliver(960);
  }
  EXPECT_THAT(takeLines(), ElementsAre(StartsWith("🔧")));
  scheduler_.advance(20ms);
  deliver(960);
  EXPECT_THAT(takeLines(),
              ElementsAre("⚡ FPS: 50 | Latencia: 20.00ms | Bytes/frame: 3528 | Buffer: 882 frames "
                          "@ 44100.0 Hz"));

  // After a pause: what came since the last line, not a rate.
  scheduler_.advance(7s);
  EXPECT_THAT(takeLines(), IsEmpty());
  deliver(960);
  EXPECT_THAT(takeLines(), ElementsAre(StartsWith("⚡ FPS: 1 |")));
}

TEST_F(AudioCaptureManagerTest, ChunksAreCountedWithoutAHandlerAndANewOneTakesTheNext) {
  manager_->setOnAudioData({});
  startQuietly();
  deliver(960);
  int taken = 0;
  manager_->setOnAudioData([&](wire::AudioChunkView) {
    ++taken;
    manager_->setOnAudioData({});  // from inside
  });
  deliver(2 * 960);
  EXPECT_EQ(taken, 1);
  scheduler_.advance(1s);
  deliver(960);
  EXPECT_THAT(lines_.back(), StartsWith("⚡ FPS: 4 |"));
}

}  // namespace
}  // namespace quorin::test
