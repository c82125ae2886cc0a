#include "platform/audio/audio_server.h"

#include "platform/audio/audio_backend.h"
#include "core/thread_safety.h"

#include <chrono>
#include <mutex>
#include <utility>

namespace quorin::audio {
namespace {

/// What a window gets to show its first picture before the libraries take the disk and a processor.
/// Too short to notice, and skipped when an engine is wanted sooner.
constexpr std::chrono::milliseconds kHeadStart{150};

/// The backend's server, from the moment on that the backend is loaded.
class LateServer {
 public:
  explicit LateServer(dispatch::Queue& utilityQueue) : utilityQueue_(utilityQueue) {}

  /// Waits for the backend, and loads it unless somebody else does.
  AudioServer& get() {
    std::call_once(once_, [this] {
      auto server = audioBackend().connect(utilityQueue_);
      const dispatch::Lock lock(mutex_);
      if (changeHandler_) server->setChangeHandler(*changeQueue_, std::move(changeHandler_));
      server_ = std::move(server);
    });
    return *getIfThere();
  }

  AudioServer* getIfThere() const {
    const dispatch::Lock lock(mutex_);
    return server_.get();
  }

  void setChangeHandler(dispatch::Queue& queue, dispatch::Task handler) {
    const dispatch::Lock lock(mutex_);
    if (server_) return server_->setChangeHandler(queue, std::move(handler));
    changeQueue_ = &queue;
    changeHandler_ = std::move(handler);
  }

 private:
  dispatch::Queue& utilityQueue_;
  std::once_flag once_;
  mutable dispatch::Mutex mutex_;  ///< never held while the backend is loaded
  std::unique_ptr<AudioServer> server_ GUARDED_BY(mutex_);
  dispatch::Queue* changeQueue_ GUARDED_BY(mutex_) = nullptr;
  dispatch::Task changeHandler_ GUARDED_BY(mutex_);
};

class LateAudioServer final : public AudioServer {
 public:
  explicit LateAudioServer(dispatch::Queue& utilityQueue)
      : late_(std::make_shared<LateServer>(utilityQueue)) {
    utilityQueue.asyncAfter(kHeadStart, [weak = std::weak_ptr(late_)] {
      if (const auto late = weak.lock()) late->get();
    });
  }

  DefaultDevices defaultDevices() const override {
    const auto* const server = late_->getIfThere();
    return server != nullptr ? server->defaultDevices() : DefaultDevices();
  }
  RecordingAccess recordingAccess() const override {
    const auto* const server = late_->getIfThere();
    return server != nullptr ? server->recordingAccess() : RecordingAccess::kUnknown;
  }
  void setChangeHandler(dispatch::Queue& queue, dispatch::Task handler) override {
    late_->setChangeHandler(queue, std::move(handler));
  }
  std::unique_ptr<AudioEngine> makeEngine() override {
    // What it records is converted on a thread that must not wait for the disk.
    resamplerBackend();
    return late_->get().makeEngine();
  }

 private:
  std::shared_ptr<LateServer> late_;
};

}  // namespace

std::unique_ptr<AudioServer> connectToAudioServer(dispatch::Queue& utilityQueue) {
  return std::make_unique<LateAudioServer>(utilityQueue);
}

}  // namespace quorin::audio
