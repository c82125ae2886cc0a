#include "stream/audio_sender.h"

#include <algorithm>
#include <utility>

namespace quorin::stream {

std::unique_ptr<dispatch::SerialQueue> AudioSender::makeQueue(dispatch::Scheduler& scheduler) {
  return scheduler.makeSerialQueue("PTExample.audioFrameQueue", dispatch::Priority::kRealtime);
}

AudioSender::AudioSender(dispatch::Scheduler& scheduler, dispatch::SerialQueue& queue,
                         Transports transports)
    : scheduler_(scheduler),
      transports_(std::move(transports)),
      audioFrameQueueSerial_(queue),
      arrivals_(queue.makeEventSource([this] { chunkArrived(); })) {}

void AudioSender::offer(wire::AudioChunkView chunk) {
  if (std::ranges::none_of(transports_, &Transport::isOpen)) return;
  const bool wanted = audioFrameQueue_.append(chunk, scheduler_.now());
  if (wanted) arrivals_->signal();
}

// The timer is made and ended on its own queue: there a cancellation is exact, and the handler
// may use it.

void AudioSender::startAudioSendTimer() {
  audioFrameQueueSerial_.async([this] {
    if (audioSendTimer_ != nullptr) return;
    audioSendTimer_ = audioFrameQueueSerial_.makeTimer(
        {.first = {}, .interval = wire::kChunkDuration}, [this] { sendNextAudioFrame(); });
    pacing_ = PacingDiscipline(audioSendTimer_->next());
  });
}

void AudioSender::stopAudioSendTimer() {
  audioFrameQueueSerial_.async([this] {
    audioSendTimer_.reset();
    audioFrameQueue_.clear();
  });
}

AudioSender::Counters AudioSender::counters() const {
  return {.sent = counters_.sent.load(std::memory_order_relaxed),
          .lateTicks = counters_.lateTicks.load(std::memory_order_relaxed),
          .starvedTicks = counters_.starvedTicks.load(std::memory_order_relaxed),
          .overflowed = audioFrameQueue_.overflowed(),
          .withoutListener = counters_.withoutListener.load(std::memory_order_relaxed)};
}

void AudioSender::chunkArrived() {
  if (audioSendTimer_ && pacing_.isWaiting()) sendNextAudioFrame();
}

void AudioSender::sendNextAudioFrame() {
  // Check for listeners before taking a chunk: a listener seen here implies that the clearing
  // before it is seen too.
  const auto transport = std::ranges::find_if(transports_, &Transport::hasListener);
  const auto arrived = audioFrameQueue_.take(chunk_);
  if (arrived) {
    const bool hasListener = transport != transports_.end();
    if (hasListener) (*transport)->send(chunk_);
    ++(hasListener ? counters_.sent : counters_.withoutListener);
  }
  if (pacing_.isWaiting()) ++(arrived ? counters_.lateTicks : counters_.starvedTicks);
  pacing_.looked(scheduler_.now(), arrived);
  audioSendTimer_->shiftBy(pacing_.nextLook() - audioSendTimer_->next());
}

}  // namespace quorin::stream
