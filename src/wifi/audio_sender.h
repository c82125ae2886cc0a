#pragma once

#include "platform/dispatch/scheduler.h"
#include "platform/dispatch/snapshot.h"
#include "wifi/audience.h"
#include "wifi/audio_frame_queue.h"
#include "wifi/chunk_ring.h"
#include "wifi/chunk_sink.h"
#include "wifi/pacing_discipline.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>

namespace quorin::wifi {

/// The way of the sound from the capture thread to the network or the cable: a short queue, and
/// a timer that takes one chunk out of it every 20 ms.
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

  /// `cable` must outlive the sender.
  AudioSender(dispatch::Scheduler& scheduler, ChunkSink& cable);

  /// Capture thread, one chunk after the other: passes the chunk on while the server runs or the
  /// cable's channel is open, drops it otherwise.
  void offer(wire::AudioChunkView chunk);

  /// Capture thread: when the next chunk to be offered is needed for its tick. Long past, that is
  /// as soon as it comes, while the timer does not run or wants to know when it comes.
  dispatch::TimePoint chunkNeededAt();

  /// One chunk leaves every 20 ms, the first at once. A tick that finds none although they flow
  /// comes later, with its chunk or when its leeway is over. Does nothing while that is so already.
  void startAudioSendTimer();

  /// Ends that, and in every case throws away all that waits.
  void stopAudioSendTimer();

  /// Throws away all that waits.
  void clearAudioFrames();

  /// The queue that paces the sound; the cable's frames leave from there too.
  dispatch::SerialQueue& queue() { return *audioFrameQueueSerial_; }

  /// Nothing is sent any more, and the cable is not touched again. Before whatever sends from
  /// `queue` is destroyed.
  void end() { audioFrameQueueSerial_->end(); }

  // What the server tells.

  void setServerRunning(bool running) { serverRunning_.store(running, std::memory_order_relaxed); }

  /// Everybody who gets the chunks from the next tick on; null for nobody.
  void publishAudience(std::shared_ptr<const Audience> audience);

  /// Since construction; for diagnosis and tests. Any thread.
  struct Counters {
    std::uint64_t datagramsSent = 0;  ///< that the system took, over all clients
    std::uint64_t cableChunks = 0;    ///< handed to the cable
    std::uint64_t lateTicks = 0;      ///< ticks that waited for their chunk
    std::uint64_t starvedTicks = 0;   ///< ticks that got no chunk
    std::uint64_t overflowed = 0;     ///< chunks cut from a full queue
    std::uint64_t unheard = 0;        ///< chunks whose tick found neither client nor channel
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
  void send(wire::AudioChunkView chunk, const Audience* audience);
  void pushAudioToUDP(wire::AudioChunkView chunk, const Audience& audience);

  dispatch::Scheduler& scheduler_;
  ChunkSink& cable_;

  std::atomic<bool> serverRunning_{false};  ///< main writes, capture reads
  dispatch::Snapshot<Audience> audience_;   ///< main writes, pacing reads
  std::atomic<bool> clearDue_{false};       ///< main sets, pacing takes; published by `audience_`
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
  AudienceSender audienceSender_;
  std::array<std::int16_t, wire::kChunkFrames> datagram_{};

  struct {
    std::atomic<std::uint64_t> datagramsSent{0};
    std::atomic<std::uint64_t> cableChunks{0};
    std::atomic<std::uint64_t> lateTicks{0};
    std::atomic<std::uint64_t> starvedTicks{0};
    std::atomic<std::uint64_t> overflowed{0};
    std::atomic<std::uint64_t> unheard{0};
  } counters_;

  std::unique_ptr<dispatch::Timer> audioSendTimer_;  ///< pacing queue only
  std::unique_ptr<dispatch::EventSource> arrivals_;  ///< signalled by capture

  // Last, so that it ends before anything that its work uses.
  std::unique_ptr<dispatch::SerialQueue> audioFrameQueueSerial_;
};

}  // namespace quorin::wifi
