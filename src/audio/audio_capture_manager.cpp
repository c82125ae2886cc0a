#include "audio/audio_capture_manager.h"

#include <string>
#include <utility>

namespace quorin::audio {

AudioCaptureManager::AudioCaptureManager(dispatch::Scheduler& scheduler, Parts parts)
    : scheduler_(scheduler),
      parts_(std::move(parts)),
      tapLog_(scheduler.utilityQueue(), parts_.print) {}

AudioCaptureManager::~AudioCaptureManager() {
  if (tap_) removeTap();
}

void AudioCaptureManager::startCapture() {
  if (isCapturing_) return;
  if (!engine_) createEngine();
  const auto frames = std::to_string(wire::kChunkFrames);
  parts_.print("🎤 Formato ORIGINAL de entrada: " + describe(engine_->inputFormat()));
  parts_.print("🎯 Formato TARGET: " + describe(kTargetFormat));
  parts_.print("⚡ Instalando tap con buffer de " + frames + " frames (" +
               std::to_string(wire::kChunkDuration.count()) + ".00 ms)");

  tap_ =
      std::make_unique<CaptureTap>(CaptureTap::Surroundings{.clock = scheduler_,
                                                            .makeConverter = parts_.makeConverter,
                                                            .onAudioData = onAudioData_,
                                                            .log = tapLog_});
  engine_->installTap(
      wire::kChunkFrames, [tap = tap_.get()](const BufferView& buffer) { tap->process(buffer); },
      chunkNeededAt_);
  if (const auto started = engine_->start(); !started) {
    removeTap();
    parts_.print("❌ Error iniciando motor: " + started.error().description);
    return;
  }
  isCapturing_ = true;
  parts_.print("✅ ✅ ✅ Motor de audio INICIADO con buffer de " + frames + " frames");
}

void AudioCaptureManager::stopCapture() {
  if (!isCapturing_) return;
  removeTap();
  isCapturing_ = false;
  parts_.print("⏹️ Captura detenida");
}

void AudioCaptureManager::createEngine() {
  engine_ = parts_.makeEngine();
  engine_->setInterruptionHandler(scheduler_.mainQueue(),
                                  [this](const Error& error) { interrupted(error); });
}

void AudioCaptureManager::removeTap() {
  engine_->removeTap();
  engine_->stop();
  engine_->reset();
  tap_.reset();
  tapLog_.flush();
}

void AudioCaptureManager::interrupted(const Error& error) {
  parts_.print("⚠️ Captura interrumpida: " + error.description);
  if (const auto handler = onInterrupted_) handler();  // a copy: it may destroy this object
}

}  // namespace quorin::audio
