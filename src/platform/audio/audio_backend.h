#pragma once

#include "platform/audio/audio_server.h"
#include "platform/audio/converter.h"

#include <memory>

namespace quorin::audio {

// What stands on the audio libraries. They and what they bring along are two dozen shared libraries
// that a first picture has no need of, so they stand behind two plug-ins.
//
// A plug-in is loaded by the first call that asks for it, which takes some milliseconds, and stays
// until the program ends. Any thread; the others wait meanwhile. Without its plug-ins the program
// says so and ends, as it would without any other library.

/// The way to the audio server.
struct AudioBackend {
  /// The symbol that the plug-in exports: one of these.
  static constexpr const char* kSymbol = "kQuorinAudioBackend";

  std::unique_ptr<AudioServer> (*connect)(dispatch::Queue& utilityQueue);
};
const AudioBackend& audioBackend();

/// What converts the sound that is recorded.
struct ResamplerBackend {
  static constexpr const char* kSymbol = "kQuorinResamplerBackend";

  std::unique_ptr<SampleConverter> (*makeSampleConverter)(const Format& from, const Format& to);
};
const ResamplerBackend& resamplerBackend();

}  // namespace quorin::audio
