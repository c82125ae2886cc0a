#pragma once

#include "core/scheduler.h"
#include "stream/audio_frame_queue.h"
#include "stream/pacing_discipline.h"
#include "stream/transport.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

namespace quorin::stream {

/// Carries the sound from the capture thread to the transports: a short queue, and a timer that
/// takes one chunk from it every 20 ms.
///
/// Made, and its public operations called, on the main queue except where noted. From `offer` to
/// the send nothing allocates or waits for the user interface. Capture must have ended when it is
/// destroyed.
class AudioSender {
 public:
  using Transports = std::vector<Transport*>;

  /// `queue` paces the sound; it and the transports, the preferred one first, outlive the sender.
  AudioSender(dispatch::Scheduler& scheduler, dispatch::SerialQueue& queue, Transports transports);

  /// Afterwards nothing is sent and no transport is used.
  ~AudioSender() { audioFrameQueueSerial_.end(); }

  static std::unique_ptr<dispatch::SerialQueue> makeQueue(dispatch::Scheduler& scheduler);

  /// Capture thread, one chunk after the other: passes the chunk on while a transport is open,
  /// drops it otherwise.
  void offer(wire::AudioChunkView chunk);

  /// Starts the 20 ms timer; the first tick is immediate, later ones as `PacingDiscipline` decides.
  /// No effect while running.
  void startAudioSendTimer();

  /// Stops the timer; always discards all waiting chunks.
  void stopAudioSendTimer();

  /// Discards all waiting chunks. A listener added after this call receives none of them.
  void clearAudioFrames() { audioFrameQueue_.clear(); }

  /// Since construction; for diagnosis and tests. Any thread.
  struct Counters {
    std::uint64_t sent = 0;             ///< chunks handed to a transport
    std::uint64_t lateTicks = 0;        ///< chunks that arrived after their tick
    std::uint64_t starvedTicks = 0;     ///< waits that ended without a chunk
    std::uint64_t overflowed = 0;       ///< chunks cut from a full queue
    std::uint64_t withoutListener = 0;  ///< chunks whose tick found no listener
  };
  Counters counters() const;

 private:
  // Pacing queue only.
  void chunkArrived();
  void sendNextAudioFrame();

  dispatch::Scheduler& scheduler_;
  const Transports transports_;
  AudioFrameQueue audioFrameQueue_;

  // Pacing queue only.
  std::unique_ptr<dispatch::Timer> audioSendTimer_;
  PacingDiscipline pacing_;
  wire::AudioChunk chunk_{};

  struct {
    std::atomic<std::uint64_t> sent{0};
    std::atomic<std::uint64_t> lateTicks{0};
    std::atomic<std::uint64_t> starvedTicks{0};
    std::atomic<std::uint64_t> withoutListener{0};
  } counters_;

  dispatch::SerialQueue& audioFrameQueueSerial_;
  const std::unique_ptr<dispatch::EventSource> arrivals_;  ///< signalled by capture
};

}  // namespace quorin::stream
