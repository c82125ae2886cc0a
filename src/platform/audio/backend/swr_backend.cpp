#include "platform/audio/audio_backend.h"
#include "platform/audio/backend/swr_converter.h"

using quorin::audio::ResamplerBackend;

extern "C" [[gnu::visibility("default")]] const ResamplerBackend kQuorinResamplerBackend;

extern "C" const ResamplerBackend kQuorinResamplerBackend{
    .makeSampleConverter = quorin::audio::makeSwrConverter,
};
