#pragma once

#include "core/log.h"
#include "core/scheduler.h"
#include "core/snapshot.h"
#include "platform/audio/converter.h"
#include "platform/audio/reblocker.h"
#include "wire/audio_chunk.h"

#include <atomic>
#include <functional>
#include <memory>
#include <string>

namespace quorin::audio {

inline constexpr Format kTargetFormat{.sampleRate = wire::kSampleRate, .channels = 1};

using ChunkHandler = std::function<void(wire::AudioChunkView)>;

/// The processing of one capture, from start to stop: converts the sound, cuts it into chunks,
/// delivers and counts them. `process` runs on the audio server's thread, the rest where the tap is
/// made.
class CaptureTap {
 public:
  struct Context {
    dispatch::Scheduler& scheduler;  ///< its background queue prints
    const ConverterFactory& makeConverter;
    const dispatch::Snapshot<ChunkHandler>& onAudioData;
    log::PrintLine print;
  };

  explicit CaptureTap(Context context);

  void process(const BufferView& buffer);

 private:
  bool makeConverter(const Format& from);
  void convertAndCut(const BufferView& buffer);
  void reportStatistics();
  void print(std::string line);

  Context context_;
  std::unique_ptr<SampleConverter> converter_;  ///< from the first buffer's format
  Reblocker accumulator_{wire::kChunkFrames};
  int chunksSinceReport_ = 0;
  dispatch::TimePoint lastReportTime_;

  // The statistics line, each second, without an allocation on the audio server's thread.
  std::shared_ptr<std::atomic<int>> reported_ = std::make_shared<std::atomic<int>>(0);
  std::unique_ptr<dispatch::EventSource> report_;
};

}  // namespace quorin::audio
