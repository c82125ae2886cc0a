#pragma once

#include "core/scheduler.h"
#include "stream/audio_frame_queue.h"
#include "stream/chunk_ring.h"
#include "stream/pacing_discipline.h"
#include "stream/transport.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

namespace quorin::stream {

/// The way of the sound from the capture thread to the transports: a short queue, and a timer that
/// takes one chunk out of it every 20 ms.
///
/// Made, and its public operations called, on the main queue except where noted. From `offer` to
/// the send nothing allocates, and nothing waits for the interface. Capture must have ended when
/// it is destroyed.
class AudioSender {
 public:
  static constexpr dispatch::Duration kTickLeeway = PacingDiscipline::kLeeway;
  /// Of so many chunks one is watched for, while the others are fetched. No divisor of the 4, 8 or
  /// 16 chunks after which PipeWire's fragments come round, so that each of these has its turn.
  static constexpr std::uint64_t kOneWatchedOf = 5;

  using Transports = std::vector<Transport*>;

  /// `queue` paces the sound; it and the transports, the preferred one first, outlive the sender.
  AudioSender(dispatch::Scheduler& scheduler, dispatch::SerialQueue& queue, Transports transports);

  /// Nothing is sent any more, and no transport is touched again.
  ~AudioSender() { audioFrameQueueSerial_.end(); }

  static std::unique_ptr<dispatch::SerialQueue> makeQueue(dispatch::Scheduler& scheduler);

  /// Capture thread, one chunk after the other: passes the chunk on while a transport is open,
  /// drops it otherwise.
  void offer(wire::AudioChunkView chunk);

  /// Capture thread: when the next chunk to be offered is needed for its tick. Long past, that is
  /// as soon as it comes, while the timer does not run or wants to know when it comes.
  dispatch::TimePoint chunkNeededAt();

  /// One chunk leaves every 20 ms, the first at once. A tick that finds none although they flow
  /// comes later, with its chunk or when its leeway is over. Does nothing while that is so already.
  void startAudioSendTimer();

  /// Ends that, and in every case throws away all that waits.
  void stopAudioSendTimer();

  /// Throws away all that waits. A listener that a transport takes on after this call gets nothing
  /// of it.
  void clearAudioFrames();

  /// Since construction; for diagnosis and tests. Any thread.
  struct Counters {
    std::uint64_t sent = 0;          ///< chunks handed to a transport
    std::uint64_t lateTicks = 0;     ///< ticks that waited for their chunk
    std::uint64_t starvedTicks = 0;  ///< ticks that got no chunk
    std::uint64_t overflowed = 0;    ///< chunks cut from a full queue
    std::uint64_t unheard = 0;       ///< chunks whose tick found no listener
  };
  Counters counters() const;

 private:
  static constexpr auto kWatchAll = dispatch::TimePoint::min();

  // Pacing queue only.
  void tick();
  void chunkArrived();
  void enqueueArrived();
  void enqueueAudioFrame(const TimedChunk& chunk);
  void clearIfDue();
  void removeAllFrames();
  void sendNextAudioFrame();
  void awaitChunk();
  void planFetching();

  dispatch::Scheduler& scheduler_;
  const Transports transports_;

  std::atomic<bool> clearDue_{false};       ///< main sets, pacing takes; published by a transport
  ChunkRing ring_;                          ///< capture writes, pacing reads
  std::atomic<bool> announcing_{true};      ///< pacing writes, capture reads: tell of each chunk
  /// When the chunk that was the first to be offered would be fetched; each later one 20 ms later.
  /// Pacing writes, capture reads.
  std::atomic<dispatch::TimePoint> firstFetch_{kWatchAll};

  // Capture thread only.
  std::uint64_t offered_ = 0;  ///< chunks that went into the ring
  Arrival nextArrival_ = Arrival::kWatched;

  // Pacing queue only.
  std::uint64_t taken_ = 0;   ///< chunks that have left the frame queue
  dispatch::TimePoint tick_;  ///< the latest
  bool overdue_ = false;      ///< it waits for its chunk
  AudioFrameQueue audioFrameQueue_;
  PacingDiscipline discipline_;

  struct {
    std::atomic<std::uint64_t> sent{0};
    std::atomic<std::uint64_t> lateTicks{0};
    std::atomic<std::uint64_t> starvedTicks{0};
    std::atomic<std::uint64_t> overflowed{0};
    std::atomic<std::uint64_t> unheard{0};
  } counters_;

  std::unique_ptr<dispatch::Timer> audioSendTimer_;  ///< pacing queue only
  std::unique_ptr<dispatch::EventSource> arrivals_;  ///< signalled by capture

  dispatch::SerialQueue& audioFrameQueueSerial_;
};

}  // namespace quorin::stream
