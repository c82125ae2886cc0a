#pragma once

#include "audio/chunk_cutter.h"
#include "audio/handler_slot.h"
#include "audio/tap_log.h"
#include "platform/audio/converter.h"
#include "core/scheduler.h"

#include <memory>

namespace quorin::audio {

inline constexpr Format kTargetFormat{.sampleRate = wire::kSampleRate, .channels = 1};

using ChunkHandlerSlot = HandlerSlot<wire::AudioChunkView>;

/// What happens to the sound of one capture, from its start to its stop: converted, cut, handed
/// on, counted. Confined to the audio server's thread once installed.
class CaptureTap {
 public:
  struct Surroundings {
    const dispatch::Scheduler& clock;
    const ConverterFactory& makeConverter;
    ChunkHandlerSlot& onAudioData;
    TapLog& log;
  };

  explicit CaptureTap(const Surroundings& surroundings)
      : surroundings_(surroundings), lastReportTime_(surroundings.clock.now()) {}

  void process(const BufferView& buffer);

 private:
  bool makeConverter(const Format& from);
  void convertAndCut(const BufferView& buffer);
  void reportStatistics();

  Surroundings surroundings_;
  std::unique_ptr<SampleConverter> converter_;  ///< from the first buffer's format
  ChunkCutter accumulator_;
  int chunksSinceReport_ = 0;
  dispatch::TimePoint lastReportTime_;
};

}  // namespace quorin::audio
