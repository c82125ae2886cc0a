#include "audio/capture_fixture.h"

namespace quorin::test {
namespace {

using audio::SampleConverter;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;
using namespace std::chrono_literals;

/// Answers what the test wants.
class ScriptedConverter : public SampleConverter {
 public:
  explicit ScriptedConverter(Result& answer) : answer_(answer) {}

  Result convert(const audio::BufferView& /*input*/, std::size_t capacity) override {
    output_.assign(capacity, 0.5F);
    answer_.output = output_;
    return answer_;
  }
  std::string description() const override { return "scripted"; }

 private:
  Result& answer_;
  std::vector<float> output_;
};

class AudioCaptureManagerTest : public CaptureTest {
 protected:
  AudioCaptureManagerTest() {
    createManager([this](const auto&, const auto&) {
      return canConvert_ ? std::make_unique<ScriptedConverter>(answer_) : nullptr;
    });
  }

  SampleConverter::Result answer_{
      .status = SampleConverter::Status::kHaveData, .output = {}, .error = {}};
  bool canConvert_ = true;
};

TEST_F(AudioCaptureManagerTest, StartAndStopTellWhatTheyDoOnce) {
  for (int i = 0; i < 2; ++i) manager_->startCapture();
  EXPECT_THAT(takeLines(),
              ElementsAre("🎤 Formato ORIGINAL de entrada: 2 ch, 48000 Hz, Float32, interleaved",
                          "🎯 Formato TARGET: 1 ch, 44100 Hz, Float32",
                          "⚡ Instalando tap con buffer de 882 frames (20.00 ms)",
                          "✅ ✅ ✅ Motor de audio INICIADO con buffer de 882 frames"));
  for (int i = 0; i < 2; ++i) manager_->stopCapture();
  EXPECT_THAT(takeLines(), ElementsAre("⏹️ Captura detenida"));
  EXPECT_THAT(engine_->calls, ElementsAre("install 882", "start", "remove", "stop"));
}

TEST_F(AudioCaptureManagerTest, AConverterIsMadeOncePerCaptureAndTriedUntilItCanBe) {
  const auto failed = "❌ Error creando convertidor dinámico";
  const auto created =
      "🔧 Convertidor creado: scripted | from 2 ch, 48000 Hz, Float32, interleaved to 1 ch, 44100 "
      "Hz, Float32";
  canConvert_ = false;
  startQuietly();
  for (int i = 0; i < 2; ++i) deliver(960);
  canConvert_ = true;
  for (int i = 0; i < 2; ++i) deliver(960);
  EXPECT_THAT(takeLines(), ElementsAre(failed, failed, created));

  deliver(480);  // half a chunk, which the stop throws away
  manager_->stopCapture();
  startQuietly();
  deliver(480);
  EXPECT_THAT(takeLines(), ElementsAre(created));
  EXPECT_THAT(chunks_, SizeIs(2));
}

TEST_F(AudioCaptureManagerTest, AConversionErrorDropsItsBufferAndKeepsWhatWaited) {
  startQuietly();
  deliver(480);
  takeLines();
  answer_.status = SampleConverter::Status::kError;
  for (const auto* error : {"broken", ""}) {
    answer_.error = error;
    deliver(480);
  }
  EXPECT_THAT(takeLines(),
              ElementsAre("❌ Error en conversión: broken", "❌ Error en conversión: unknown"));
  EXPECT_THAT(chunks_, IsEmpty());
  answer_.status = SampleConverter::Status::kInputRanDry;
  deliver(480);
  EXPECT_THAT(chunks_, SizeIs(1));
}

TEST_F(AudioCaptureManagerTest, StatisticsComeWithTheFirstBufferAfterEachSecond) {
  manager_->setOnAudioData({});  // chunks are counted all the same
  startQuietly();
  for (int buffer = 0; buffer < 50; ++buffer) {
    scheduler_.advance(20ms);
    deliver(960);
  }
  EXPECT_THAT(takeLines(),
              ElementsAre(StartsWith("🔧"),
                          "⚡ FPS: 50 | Latencia: 20.00ms | Bytes/frame: 3528 | Buffer: 882 frames "
                          "@ 44100.0 Hz"));
  scheduler_.advance(7s);
  deliver(960);
  EXPECT_THAT(takeLines(), ElementsAre(StartsWith("⚡ FPS: 1 |"))) << "no rate, what came since";
}

}  // namespace
}  // namespace quorin::test
