#include "modes/audio_inputs.h"

#include "core/identity.h"
#include "wire/audio_chunk.h"

#include <optional>

namespace quorin::app {
namespace {

/// Starts and stops a recording: only whether the server permits it matters.
void tryToRecord(audio::AudioServer& server) {
  const auto engine = server.makeEngine([](const audio::Device&) { return true; });
  engine->installTap(wire::kChunkFrames, [](const audio::BufferView&) {});
  if (engine->start()) engine->stop();
  engine->removeTap();
}

}  // namespace

AudioInputs::AudioInputs(dispatch::Scheduler& scheduler, audio::AudioServer& server)
    : server_(server),
      permission_(scheduler, {.identity = desktop::identify(kApplicationId),
                              // The server may take a while to answer.
                              .tryToRecord = [&server, &elsewhere = scheduler.backgroundQueue()] {
                                elsewhere.async([&server] { tryToRecord(server); });
                              }}) {
  server_.setChangeHandler(scheduler.mainQueue(), scope_.bind([this] {
    const auto access = server_.recordingAccess();
    const bool isKnown = access != audio::RecordingAccess::kUnknown;
    permission_.reportRecording(isKnown ? std::optional(access == audio::RecordingAccess::kGranted)
                                        : std::nullopt);
  }));
}

}  // namespace quorin::app
