#pragma once

#include <pulse/pulseaudio.h>

#include <chrono>
#include <cstdint>
#include <expected>
#include <functional>
#include <memory>
#include <string>

namespace quorin::audio {

/// A connection to the user's audio server (PulseAudio, or PipeWire's pipewire-pulse;
/// `PULSE_SERVER` is honoured) on libpulse's own thread. The one libpulse client of the program and
/// of its tools.
///
/// libpulse calls back on that thread with the lock held; every other thread holds a `Lock` while
/// it touches anything of libpulse. Callbacks are short: sound is recorded on the same thread.
class PulseConnection {
 public:
  /// All of these run on the audio server's thread, locked.
  struct Options {
    const char* applicationName = "Quorin Stream";
    /// Reconnect automatically, with a backoff of up to 4 s. Otherwise a failed or lost connection
    /// stays closed.
    bool reconnect = true;
    std::function<void()> onThread{};                 ///< once, first of all
    std::function<void(pa_context*)> connected{};     ///< for each connection, once it is ready
    std::function<void(int paError)> disconnected{};  ///< also after each attempt that failed
  };

  /// Begins to connect and returns at once.
  explicit PulseConnection(Options options);
  ~PulseConnection();
  PulseConnection(const PulseConnection&) = delete;
  PulseConnection& operator=(const PulseConnection&) = delete;

  /// Never on the audio server's thread.
  class Lock {
   public:
    explicit Lock(PulseConnection& connection) : loop_(connection.loop_.get()) {
      ::pa_threaded_mainloop_lock(loop_);
    }
    ~Lock() { ::pa_threaded_mainloop_unlock(loop_); }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;

   private:
    pa_threaded_mainloop* loop_;
  };

  // The following require the lock. Functions that wait release it meanwhile, and must not be
  // called on the audio server's thread.

  /// The connection that is ready for use; null while there is none.
  pa_context* ready() const { return phase_ == Phase::kReady ? context_.get() : nullptr; }
  bool isConnecting() const { return phase_ == Phase::kConnecting; }

  /// Why the last attempt or connection failed, as libpulse puts it.
  std::string error() const { return ::pa_strerror(::pa_context_errno(context_.get())); }

  /// Tries to connect now instead of after the backoff. Only has an effect between attempts.
  void retryNow();

  /// Waits until the connection is ready; false when the attempt failed or after `limit`.
  bool waitUntilReady(std::chrono::milliseconds limit);

  /// Waits until `condition` holds; false when `limit` has passed before. Evaluated after each
  /// `changed` and after each callback of `run`.
  bool waitUntil(std::chrono::milliseconds limit, const std::function<bool()>& condition);

  /// Wakes `waitUntil`. Any thread that holds the lock.
  void changed() { ::pa_threaded_mainloop_signal(loop_.get(), 0); }

  enum class Outcome : std::uint8_t { kDone, kFailed, kTimeout };

  /// Waits for `operation` and releases it. Null (connection lost) counts as failed. On timeout it
  /// is cancelled and its callback does not run. kDone means that a reply arrived, not that it was
  /// positive.
  Outcome run(pa_operation* operation, std::chrono::milliseconds limit);

  /// Calls `callback` once, after `delay`, on the audio server's thread; not if the timer is
  /// dropped before, with the lock held.
  struct FreeTimer {
    pa_threaded_mainloop* loop;
    void operator()(pa_time_event* timer) const {
      ::pa_threaded_mainloop_get_api(loop)->time_free(timer);
    }
  };
  using Timer = std::unique_ptr<pa_time_event, FreeTimer>;
  Timer callAfter(std::chrono::milliseconds delay, pa_time_event_cb_t callback, void* data);

 private:
  enum class Phase : std::uint8_t { kConnecting, kReady, kLost };

  struct FreeLoop {
    void operator()(pa_threaded_mainloop* loop) const { ::pa_threaded_mainloop_free(loop); }
  };
  struct DropContext {
    void operator()(pa_context* context) const;
  };

  void connect();
  void contextStateChanged();
  void lost();

  const Options options_;
  std::unique_ptr<pa_threaded_mainloop, FreeLoop> loop_;
  /// Kept after a failure, until the next attempt.
  std::unique_ptr<pa_context, DropContext> context_;
  Phase phase_ = Phase::kLost;
  std::chrono::milliseconds backoff_;
  Timer retryTimer_;
};

}  // namespace quorin::audio
