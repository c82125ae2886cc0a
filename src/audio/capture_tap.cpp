#include "audio/capture_tap.h"

#include <cstdint>
#include <utility>

namespace quorin::audio {
namespace {

constexpr std::chrono::seconds kStatisticsInterval{1};

/// Truncates: buffers that do not convert to a whole number of frames lose their fraction.
std::size_t outputCapacity(const BufferView& buffer) {
  return std::uint64_t{kTargetFormat.sampleRate} * buffer.frames() / buffer.format.sampleRate;
}

std::string statisticsLine(int chunks) {
  return "⚡ FPS: " + std::to_string(chunks) +
         " | Latencia: " + std::to_string(wire::kChunkDuration.count()) +
         ".00ms | Bytes/frame: " + std::to_string(wire::kChunkBytes) +
         " | Buffer: " + std::to_string(wire::kChunkFrames) + " frames @ " +
         std::to_string(wire::kSampleRate) + ".0 Hz";
}

}  // namespace

CaptureTap::CaptureTap(Context context)
    : context_(std::move(context)),
      lastReportTime_(context_.scheduler.now()),
      report_(context_.scheduler.backgroundQueue().makeEventSource(
          [print = context_.print, chunks = reported_] { print(statisticsLine(*chunks)); })) {}

void CaptureTap::process(const BufferView& buffer) {
  if (!buffer.format.exists()) return;
  if (!converter_ && !makeConverter(buffer.format)) return;
  convertAndCut(buffer);
}

bool CaptureTap::makeConverter(const Format& from) {
  converter_ = context_.makeConverter(from, kTargetFormat);
  if (!converter_) {
    print("❌ Error creando convertidor dinámico");
    return false;
  }
  print("🔧 Convertidor creado: " + converter_->description() + " | from " + describe(from) +
        " to " + describe(kTargetFormat));
  return true;
}

void CaptureTap::convertAndCut(const BufferView& buffer) {
  const auto result = converter_->convert(buffer, outputCapacity(buffer));
  if (result.status == SampleConverter::Status::kError) {
    print("❌ Error en conversión: " +
          (result.error.empty() ? "unknown" : std::string(result.error)));
    return;
  }
  if (result.output.data() == nullptr) return;
  accumulator_.push(result.output, [this](std::span<const float> samples) {
    ++chunksSinceReport_;
    const auto handler = context_.onAudioData.load();
    if (handler && *handler) (*handler)(samples.first<wire::kChunkFrames>());
  });
  reportStatistics();
}

void CaptureTap::reportStatistics() {
  const auto now = context_.scheduler.now();
  if (now - lastReportTime_ < kStatisticsInterval) return;
  *reported_ = std::exchange(chunksSinceReport_, 0);
  report_->signal();
  lastReportTime_ = now;
}

/// Standard output may block, and the audio server's thread may not.
void CaptureTap::print(std::string line) {
  context_.scheduler.backgroundQueue().async(
      [print = context_.print, line = std::move(line)] { print(line); });
}

}  // namespace quorin::audio
