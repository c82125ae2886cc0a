#include "wifi/audio_sender.h"

#include "wifi/pcm16.h"

#include <span>
#include <utility>

namespace quorin::wifi {
namespace {

void add(std::atomic<std::uint64_t>& counter, std::uint64_t amount) {
  counter.fetch_add(amount, std::memory_order_relaxed);
}

}  // namespace

AudioSender::AudioSender(dispatch::Scheduler& scheduler, ChunkSink& cable)
    : scheduler_(scheduler),
      cable_(cable),
      audioFrameQueueSerial_(
          scheduler.makeSerialQueue("PTExample.audioFrameQueue", dispatch::Priority::kRealtime)) {
  arrival_ = audioFrameQueueSerial_->makeEventSource([this] { enqueueArrived(); });
}

void AudioSender::offer(wire::AudioChunkView chunk) {
  if (!serverRunning_.load(std::memory_order_relaxed) && !cable_.channelOpen()) return;

  if (!ring_.push(chunk, scheduler_.now())) add(counters_.overflowed, 1);
  // A tick takes what has arrived; between ticks there is nothing to wake anybody for.
  if (!ticking_.load(std::memory_order_relaxed)) arrival_->signal();
}

// The timer is made and ended on its own queue: there a cancellation is exact, and the handler
// may use it.

void AudioSender::startAudioSendTimer() {
  audioFrameQueueSerial_->async([this] {
    if (audioSendTimer_ != nullptr) return;
    audioSendTimer_ = audioFrameQueueSerial_->makeTimer(
        {.first = {}, .interval = wire::kChunkDuration, .leeway = kTickLeeway},
        [this] { sendNextAudioFrame(); });
    discipline_.restart();
    ticking_.store(true, std::memory_order_relaxed);
  });
}

void AudioSender::stopAudioSendTimer() {
  audioFrameQueueSerial_->async([this] {
    audioSendTimer_.reset();
    ticking_.store(false, std::memory_order_relaxed);
    removeAllFrames();
  });
}

void AudioSender::clearAudioFrames() {
  clearDue_.store(true, std::memory_order_relaxed);  // comes with the next audience
  audioFrameQueueSerial_->async([this] { clearIfDue(); });
}

void AudioSender::publishAudience(std::shared_ptr<const Audience> audience) {
  audience_.store(std::move(audience));
}

AudioSender::Counters AudioSender::counters() const {
  return {.datagramsSent = counters_.datagramsSent.load(std::memory_order_relaxed),
          .cableChunks = counters_.cableChunks.load(std::memory_order_relaxed),
          .starvedTicks = counters_.starvedTicks.load(std::memory_order_relaxed),
          .overflowed = counters_.overflowed.load(std::memory_order_relaxed),
          .unheard = counters_.unheard.load(std::memory_order_relaxed)};
}

void AudioSender::enqueueArrived() {
  ring_.drain([this](const TimedChunk& chunk) { enqueueAudioFrame(chunk); });
}

void AudioSender::enqueueAudioFrame(const TimedChunk& chunk) {
  const auto removed = audioFrameQueue_.append(chunk);
  if (removed == 0) return;
  discipline_.dropped(removed);
  add(counters_.overflowed, removed);
}

void AudioSender::removeAllFrames() {
  enqueueArrived();
  discipline_.dropped(audioFrameQueue_.clear());
}

void AudioSender::clearIfDue() {
  if (clearDue_.exchange(false, std::memory_order_relaxed)) removeAllFrames();
}

void AudioSender::sendNextAudioFrame() {
  // A late tick may come before a clearing that was asked for before it: whoever sees the new
  // audience sees that too.
  const auto audience = audience_.load();
  clearIfDue();
  enqueueArrived();
  const auto* chunk = audioFrameQueue_.takeOldest();
  if (chunk == nullptr) {
    discipline_.starved();
    add(counters_.starvedTicks, 1);
    return;
  }
  send(chunk->samples, audience.get());
  audioSendTimer_->shiftBy(discipline_.sent(scheduler_.now() - chunk->arrived));
}

void AudioSender::send(wire::AudioChunkView chunk, const Audience* audience) {
  if (audience != nullptr && audience->count > 0) {
    pushAudioToUDP(chunk, *audience);
  } else if (cable_.channelOpen()) {
    cable_.sendChunk(chunk);
    add(counters_.cableChunks, 1);
  } else {
    add(counters_.unheard, 1);
  }
}

void AudioSender::pushAudioToUDP(wire::AudioChunkView chunk, const Audience& audience) {
  convertToPcm16(chunk, datagram_);
  add(counters_.datagramsSent, audienceSender_.send(audience, std::as_bytes(std::span(datagram_))));
}

}  // namespace quorin::wifi
