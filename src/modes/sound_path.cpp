#include "modes/sound_path.h"

#include "core/log.h"

#include <string>

namespace quorin::app {
namespace {

std::string describe(const stream::AudioSender::Counters& counters) {
  return std::to_string(counters.sent) + " chunks sent, " + std::to_string(counters.lateTicks) +
         " ticks that waited for their chunk, " + std::to_string(counters.starvedTicks) +
         " looks without a chunk, " + std::to_string(counters.overflowed) + " chunks dropped";
}

}  // namespace

SoundPath::SoundPath(dispatch::Scheduler& scheduler, audio::AudioCaptureManager& capture,
                     stream::AudioSender& sender)
    : capture_(capture), sender_(sender), silence_(scheduler, [this](bool silent) {
        if (onSilence_) onSilence_(silent);
      }) {
  capture_.setOnAudioData([&sender, detector = silence_.detector()](wire::AudioChunkView chunk) {
    detector->inspect(chunk);
    sender.offer(chunk);
  });
}

SoundPath::~SoundPath() {
  capture_.stopCapture();
  capture_.setOnAudioData({});
}

void SoundPath::start() {
  capture_.startCapture();
  sender_.startAudioSendTimer();
  silence_.start();
}

void SoundPath::stop() {
  const bool wasSilent = silence_.isSilent();
  silence_.stop();
  capture_.stopCapture();
  sender_.stopAudioSendTimer();
  log::detail("sound", "stopped; since the program started " + describe(sender_.counters()));
  if (wasSilent && onSilence_) onSilence_(false);
}

}  // namespace quorin::app
