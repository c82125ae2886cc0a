#include "audio/silence_watch.h"

#include <utility>

namespace quorin::audio {

using namespace std::chrono_literals;

SilenceWatch::SilenceWatch(dispatch::Scheduler& scheduler,
                           std::function<void(bool silent)> onChange)
    : scheduler_(scheduler), onChange_(std::move(onChange)) {}

void SilenceWatch::start() {
  if (timer_) return;
  detector_->takeSounded();  // earlier sound belongs to another stream
  lastSound_ = scheduler_.now();
  timer_ = scheduler_.mainQueue().makeTimer({.first = 500ms, .interval = 500ms, .leeway = 100ms},
                                            [this] { look(); });
}

void SilenceWatch::stop() {
  timer_.reset();
  silent_ = false;
}

void SilenceWatch::look() {
  if (detector_->takeSounded()) lastSound_ = scheduler_.now();
  const bool silent = scheduler_.now() - lastSound_ >= kTimeout;
  if (std::exchange(silent_, silent) != silent) onChange_(silent);
}

}  // namespace quorin::audio
