#include "audio/capture_tap.h"

#include <cstdint>
#include <string>

namespace quorin::audio {
namespace {

constexpr std::chrono::seconds kStatisticsInterval{1};

/// Truncates: buffers that do not convert to a whole number of frames leave their fraction in the
/// converter.
std::size_t outputCapacity(const BufferView& buffer) {
  return std::uint64_t{kTargetFormat.sampleRate} * buffer.frames() / buffer.format.sampleRate;
}

}  // namespace

void CaptureTap::process(const BufferView& buffer) {
  if (!buffer.format.exists()) return;
  if (!converter_ && !makeConverter(buffer.format)) return;
  convertAndCut(buffer);
}

bool CaptureTap::makeConverter(const Format& from) {
  converter_ = surroundings_.makeConverter(from, kTargetFormat);
  if (!converter_) {
    surroundings_.log.line("❌ Error creando convertidor dinámico");
    return false;
  }
  surroundings_.log.line("🔧 Convertidor creado: " + converter_->description() + " | from " +
                         describe(from) + " to " + describe(kTargetFormat));
  return true;
}

void CaptureTap::convertAndCut(const BufferView& buffer) {
  const auto result = converter_->convert(buffer, outputCapacity(buffer));
  if (result.status == SampleConverter::Status::kError) {
    const auto reason = result.error.empty() ? "unknown" : std::string(result.error);
    surroundings_.log.line("❌ Error en conversión: " + reason);
    return;
  }
  if (result.output.data() == nullptr) return;
  chunksSinceReport_ += accumulator_.append(
      result.output, [this](wire::AudioChunkView chunk) { surroundings_.onAudioData.call(chunk); });
  reportStatistics();
}

void CaptureTap::reportStatistics() {
  const auto now = surroundings_.clock.now();
  if (now - lastReportTime_ < kStatisticsInterval) return;
  surroundings_.log.statistics(chunksSinceReport_);
  chunksSinceReport_ = 0;
  lastReportTime_ = now;
}

}  // namespace quorin::audio
