#include "platform/audio/audio_backend.h"
#include "platform/audio/backend/pulse_server.h"

using quorin::audio::AudioBackend;

extern "C" [[gnu::visibility("default")]] const AudioBackend kQuorinAudioBackend;

extern "C" const AudioBackend kQuorinAudioBackend{
    .connect =
        [](quorin::dispatch::Queue& utilityQueue) -> std::unique_ptr<quorin::audio::AudioServer> {
      return std::make_unique<quorin::audio::PulseServer>(utilityQueue);
    },
};
