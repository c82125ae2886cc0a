#include "stream/audio_sender.h"

#include <algorithm>
#include <utility>

namespace quorin::stream {
namespace {

void add(std::atomic<std::uint64_t>& counter, std::uint64_t amount) {
  counter.fetch_add(amount, std::memory_order_relaxed);
}

}  // namespace

std::unique_ptr<dispatch::SerialQueue> AudioSender::makeQueue(dispatch::Scheduler& scheduler) {
  return scheduler.makeSerialQueue("PTExample.audioFrameQueue", dispatch::Priority::kRealtime);
}

AudioSender::AudioSender(dispatch::Scheduler& scheduler, dispatch::SerialQueue& queue,
                         Transports transports)
    : scheduler_(scheduler), transports_(std::move(transports)), audioFrameQueueSerial_(queue) {
  arrivals_ = audioFrameQueueSerial_.makeEventSource([this] { chunkArrived(); });
}

void AudioSender::offer(wire::AudioChunkView chunk) {
  if (std::ranges::none_of(transports_, &Transport::isOpen)) return;

  if (ring_.push(chunk, scheduler_.now(), nextArrival_)) {
    ++offered_;
  } else {
    add(counters_.overflowed, 1);
  }
  // A tick takes what has arrived; between ticks there is nothing to wake anybody for, unless one
  // waits. The fence: either it is seen waiting here, or it sees the chunk.
  std::atomic_thread_fence(std::memory_order_seq_cst);
  if (announcing_.load(std::memory_order_relaxed)) arrivals_->signal();
}

dispatch::TimePoint AudioSender::chunkNeededAt() {
  nextArrival_ = Arrival::kWatched;
  const auto firstFetch = firstFetch_.load(std::memory_order_relaxed);
  if (firstFetch == kWatchAll || offered_ % kOneWatchedOf == 0) return kWatchAll;
  const auto neededAt =
      firstFetch + wire::kChunkDuration * static_cast<dispatch::Duration::rep>(offered_);
  // Usually the next tick's chunk has just been offered. Where more wait, it is of interest when
  // the next one comes.
  if (neededAt > scheduler_.now() + 2 * wire::kChunkDuration) return kWatchAll;
  nextArrival_ = Arrival::kFetched;
  return neededAt;
}

// The timer is made and ended on its own queue: there a cancellation is exact, and the handler
// may use it.

void AudioSender::startAudioSendTimer() {
  audioFrameQueueSerial_.async([this] {
    if (audioSendTimer_ != nullptr) return;
    // The leeway is for chunks that come late: no tick waits for anything else.
    audioSendTimer_ = audioFrameQueueSerial_.makeTimer(
        {.first = {}, .interval = wire::kChunkDuration}, [this] { tick(); });
    discipline_.restart();
    announcing_.store(false, std::memory_order_relaxed);
  });
}

void AudioSender::stopAudioSendTimer() {
  audioFrameQueueSerial_.async([this] {
    audioSendTimer_.reset();
    overdue_ = false;
    announcing_.store(true, std::memory_order_relaxed);
    firstFetch_.store(kWatchAll, std::memory_order_relaxed);
    removeAllFrames();
  });
}

void AudioSender::clearAudioFrames() {
  clearDue_.store(true, std::memory_order_relaxed);  // comes with the next audience
  audioFrameQueueSerial_.async([this] { clearIfDue(); });
}

AudioSender::Counters AudioSender::counters() const {
  return {.sent = counters_.sent.load(std::memory_order_relaxed),
          .lateTicks = counters_.lateTicks.load(std::memory_order_relaxed),
          .starvedTicks = counters_.starvedTicks.load(std::memory_order_relaxed),
          .overflowed = counters_.overflowed.load(std::memory_order_relaxed),
          .unheard = counters_.unheard.load(std::memory_order_relaxed)};
}

void AudioSender::enqueueArrived() {
  ring_.drain([this](const TimedChunk& chunk) { enqueueAudioFrame(chunk); });
}

void AudioSender::enqueueAudioFrame(const TimedChunk& chunk) {
  const auto removed = audioFrameQueue_.append(chunk);
  taken_ += removed;
  discipline_.cut(removed);
  add(counters_.overflowed, removed);
}

void AudioSender::removeAllFrames() {
  enqueueArrived();
  const auto removed = audioFrameQueue_.clear();
  taken_ += removed;
  discipline_.cleared(removed);
}

void AudioSender::clearIfDue() {
  if (clearDue_.exchange(false, std::memory_order_relaxed)) removeAllFrames();
}

void AudioSender::tick() {
  if (overdue_) {  // its leeway is over
    audioSendTimer_->shiftBy(-kTickLeeway);
  } else {
    tick_ = scheduler_.now();
  }
  sendNextAudioFrame();
}

void AudioSender::chunkArrived() {
  enqueueArrived();
  if (!overdue_ || audioFrameQueue_.size() == 0) return;
  audioSendTimer_->shiftBy(wire::kChunkDuration - kTickLeeway);
  sendNextAudioFrame();
}

void AudioSender::sendNextAudioFrame() {
  // First, for a late tick may come before a clearing that was asked for before it: who sees the
  // new listener sees that too.
  const auto transport = std::ranges::find_if(transports_, &Transport::hasListener);
  clearIfDue();
  enqueueArrived();
  const auto* chunk = audioFrameQueue_.takeOldest();
  if (chunk == nullptr && !overdue_ && discipline_.expectsChunk()) return awaitChunk();

  if (std::exchange(overdue_, false)) announcing_.store(false, std::memory_order_relaxed);
  if (chunk == nullptr) {
    discipline_.starved();
    add(counters_.starvedTicks, 1);
  } else {
    ++taken_;
    if (transport != transports_.end()) (*transport)->send(chunk->samples);
    add(transport != transports_.end() ? counters_.sent : counters_.unheard, 1);
    audioSendTimer_->shiftBy(discipline_.sent(tick_ - chunk->arrived, chunk->arrival));
  }
  planFetching();
}

/// The tick comes again when its leeway is over, or before that with its chunk.
void AudioSender::awaitChunk() {
  overdue_ = true;
  add(counters_.lateTicks, 1);
  audioSendTimer_->shiftBy(kTickLeeway - wire::kChunkDuration);
  announcing_.store(true, std::memory_order_relaxed);
  std::atomic_thread_fence(std::memory_order_seq_cst);
  chunkArrived();  // if it did between the look and the announcement
}

void AudioSender::planFetching() {
  auto firstFetch = kWatchAll;
  if (const auto lead = discipline_.fetchLead()) {
    firstFetch = audioSendTimer_->next() - *lead -
                 wire::kChunkDuration * static_cast<dispatch::Duration::rep>(taken_);
  }
  firstFetch_.store(firstFetch, std::memory_order_relaxed);
}

}  // namespace quorin::stream
