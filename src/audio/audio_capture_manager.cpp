#include "audio/audio_capture_manager.h"

#include <algorithm>
#include <string>
#include <utility>

namespace quorin::audio {

AudioCaptureManager::AudioCaptureManager(dispatch::Scheduler& scheduler, Parts parts)
    : scheduler_(scheduler), parts_(std::move(parts)) {}

AudioCaptureManager::~AudioCaptureManager() {
  if (tap_) removeTap();
}

void AudioCaptureManager::startCapture() {
  if (isCapturing_) return;
  const auto begun = scheduler_.now();
  if (!engine_) engine_ = parts_.makeEngine();
  const auto frames = std::to_string(wire::kChunkFrames);
  parts_.print("🎤 Formato ORIGINAL de entrada: " + describe(engine_->inputFormat()));
  parts_.print("🎯 Formato TARGET: " + describe(kTargetFormat));
  parts_.print("⚡ Instalando tap con buffer de " + frames + " frames (" +
               std::to_string(wire::kChunkDuration.count()) + ".00 ms)");

  tap_ = std::make_unique<CaptureTap>(CaptureTap::Context{.scheduler = scheduler_,
                                                          .makeConverter = parts_.makeConverter,
                                                          .onAudioData = onAudioData_,
                                                          .print = parts_.print});
  engine_->installTap(wire::kChunkFrames,
                      [tap = tap_.get()](const BufferView& buffer) { tap->process(buffer); });
  if (const auto started = engine_->start(); !started) {
    removeTap();
    parts_.print("❌ Error iniciando motor: " + started.error().description);
    const auto waited = scheduler_.now() - begun;
    whileWanted_.cancelAll();  // only one retry is pending at a time
    scheduler_.mainQueue().asyncAfter(std::max<dispatch::Duration>(kRetryInterval, 9 * waited),
                                      whileWanted_, [this] { startCapture(); });
    return;
  }
  isCapturing_ = true;
  parts_.print("✅ ✅ ✅ Motor de audio INICIADO con buffer de " + frames + " frames");
}

void AudioCaptureManager::stopCapture() {
  whileWanted_.cancelAll();
  if (!isCapturing_) return;
  removeTap();
  isCapturing_ = false;
  parts_.print("⏹️ Captura detenida");
}

void AudioCaptureManager::removeTap() {
  engine_->removeTap();
  engine_->stop();
  tap_.reset();
}

}  // namespace quorin::audio
