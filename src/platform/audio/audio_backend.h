#pragma once

#include "platform/audio/audio_server.h"
#include "platform/audio/converter.h"

#include <memory>

namespace quorin::audio {

/// What stands on the audio libraries. They and what they bring along are two dozen shared
/// libraries that a first picture has no need of, so it is a module of its own, loaded when sound
/// is.
struct AudioBackend {
  /// The symbol that the module exports: one of these.
  static constexpr const char* kSymbol = "kQuorinAudioBackend";

  std::unique_ptr<AudioServer> (*connect)(dispatch::Queue& utilityQueue);
  std::unique_ptr<SampleConverter> (*makeSampleConverter)(const Format& from, const Format& to);
};

/// Loads the module on the first call, which takes some milliseconds; it stays until the program
/// ends. Any thread; the others wait meanwhile. Without its module the program says so and ends, as
/// it would without any other library.
const AudioBackend& audioBackend();

}  // namespace quorin::audio
