#include "platform/audio/audio_backend.h"
#include "platform/audio/backend/pulse_server.h"
#include "platform/audio/backend/swr_converter.h"

extern "C" [[gnu::visibility("default")]] const quorin::audio::AudioBackend kQuorinAudioBackend;

extern "C" const quorin::audio::AudioBackend kQuorinAudioBackend{
    .connect =
        [](quorin::dispatch::Queue& utilityQueue) -> std::unique_ptr<quorin::audio::AudioServer> {
      return std::make_unique<quorin::audio::PulseServer>(utilityQueue);
    },
    .makeSampleConverter = quorin::audio::makeSwrConverter,
};
