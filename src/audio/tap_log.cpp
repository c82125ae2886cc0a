#include "audio/tap_log.h"

#include "core/thread_safety.h"
#include "wire/audio_chunk.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <utility>

namespace quorin::audio {
namespace {

std::string statisticsLine(int chunks) {
  return "⚡ FPS: " + std::to_string(chunks) +
         " | Latencia: " + std::to_string(wire::kChunkDuration.count()) +
         ".00ms | Bytes/frame: " + std::to_string(wire::kChunkBytes) +
         " | Buffer: " + std::to_string(wire::kChunkFrames) + " frames @ " +
         std::to_string(wire::kSampleRate) + ".0 Hz";
}

}  // namespace

/// One writer, the tap; the readers take turns by the mutex. Shared with the queue's work, which
/// may still be printing when the log is gone.
struct TapLog::Ring {
  struct Entry {
    int chunks = 0;
    std::string text;  ///< empty: a statistics line
  };

  explicit Ring(log::PrintLine printer) : print(std::move(printer)) {}

  void drain() {
    const dispatch::Lock lock(readers);
    for (auto next = read.load(); next != written.load(); ++next, read.store(next)) {
      const auto entry = std::exchange(entries[next % entries.size()], {});
      print(entry.text.empty() ? statisticsLine(entry.chunks) : entry.text);
    }
  }

  log::PrintLine print;
  std::array<Entry, 64> entries;
  std::atomic<std::size_t> written = 0;
  std::atomic<std::size_t> read = 0;
  dispatch::Mutex readers;
};

TapLog::TapLog(dispatch::Queue& queue, log::PrintLine print)
    : ring_(std::make_shared<Ring>(std::move(print))),
      drain_(queue.makeEventSource([ring = ring_] { ring->drain(); })) {}

TapLog::~TapLog() = default;

void TapLog::line(std::string text) {
  push(0, std::move(text));
}

void TapLog::statistics(int chunks) {
  push(chunks, {});
}

void TapLog::flush() {
  ring_->drain();
}

void TapLog::push(int chunks, std::string text) {
  const auto next = ring_->written.load();
  if (next - ring_->read.load() == ring_->entries.size()) return;
  ring_->entries[next % ring_->entries.size()] = {.chunks = chunks, .text = std::move(text)};
  ring_->written.store(next + 1);
  drain_->signal();
}

}  // namespace quorin::audio
