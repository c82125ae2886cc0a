#pragma once

#include "platform/audio/backend/pulse_loop.h"

#include <pulse/pulseaudio.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace quorin::audio {

/// What others do when the connection comes and goes; on the audio server's thread, locked.
class PulseConnectionListener {
 public:
  virtual ~PulseConnectionListener() = default;
  virtual void connected(pa_context* context) = 0;
  virtual void disconnected(int error) = 0;  ///< also after each attempt that failed
};

/// The thread that speaks with the audio server, and a connection that renews itself.
///
/// libpulse calls back on that thread with the lock held; everybody else holds a `Lock` while
/// touching anything of libpulse. The thread gives the lock up only to sleep, so what runs on it
/// must be short.
class PulseConnection {
 public:
  /// `onThread` runs once, first, on the new thread.
  PulseConnection(PulseConnectionListener& listener, std::function<void()> onThread);
  ~PulseConnection();
  PulseConnection(const PulseConnection&) = delete;
  PulseConnection& operator=(const PulseConnection&) = delete;

  /// Never on the audio server's thread.
  class Lock : PulseLoop::Lock {
   public:
    explicit Lock(PulseConnection& connection) : PulseLoop::Lock(connection.loop_) {}
  };

  // The rest with the lock held.

  /// The connection that is ready for use; null while there is none.
  pa_context* ready() const { return phase_ == Phase::kReady ? context_.get() : nullptr; }
  bool isConnecting() const { return phase_ == Phase::kConnecting; }

  /// Looks for the server now instead of at the next step. Only has an effect while waiting.
  void retryNow();

  /// Wakes `waitUntil`.
  void changed() { loop_.signal(); }

  /// Gives the lock up until `condition` holds or `limit` has passed; false in the latter case.
  bool waitUntil(std::chrono::milliseconds limit, const std::function<bool()>& condition);

  void napUntil(dispatch::TimePoint time) { loop_.napUntil(time); }

 private:
  enum class Phase : std::uint8_t { kConnecting, kReady, kWaiting };

  struct DropContext {
    void operator()(pa_context* context) const;
  };

  void connect();
  void contextStateChanged();
  void lost();
  void cancel(pa_time_event* event);

  PulseConnectionListener& listener_;
  PulseLoop loop_;
  /// The last one stays until the next attempt.
  std::unique_ptr<pa_context, DropContext> context_;
  Phase phase_ = Phase::kWaiting;
  std::chrono::milliseconds backoff_;
  pa_time_event* retryTimer_ = nullptr;
};

}  // namespace quorin::audio
