#pragma once

#include "core/queue.h"
#include "core/thread_safety.h"
#include "platform/posix/file_descriptor.h"

#include <poll.h>
#include <pthread.h>
#include <pulse/mainloop-api.h>

#include <functional>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

namespace quorin::audio {

/// The event loop that libpulse runs on, with a thread of its own. Unlike libpulse's own it may
/// leave what comes from the server lying until it is wanted (`napUntil`), and wakes itself only
/// for what other threads change.
///
/// libpulse calls back on that thread with the lock held; everybody else holds a `Lock` while
/// touching anything of libpulse. The thread gives the lock up only to sleep, so what runs on it
/// must be short.
class PulseLoop {
 public:
  /// `onThread` runs first on the new thread, without the lock.
  PulseLoop(const char* threadName, std::function<void()> onThread);
  ~PulseLoop();
  PulseLoop(const PulseLoop&) = delete;
  PulseLoop& operator=(const PulseLoop&) = delete;

  /// The thread begins to run what was made through `api` so far. Once.
  void start();

  /// Ends the thread. Not on it, nor with the lock held. Stopping twice is stopping once.
  void stop();

  /// Never on the loop's thread.
  class Lock {
   public:
    explicit Lock(PulseLoop& loop) : loop_(loop) { ::pthread_mutex_lock(loop_.mutex_.native()); }
    ~Lock() { ::pthread_mutex_unlock(loop_.mutex_.native()); }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;

   private:
    PulseLoop& loop_;
  };

  // The rest with the lock held.

  pa_mainloop_api* api() { return &api_; }

  /// `callback` runs once, on the loop's thread; cancelled with the API's `time_free`.
  pa_time_event* callAfter(dispatch::Duration delay, pa_time_event_cb_t callback, void* userdata);

  /// Gives the lock up until somebody signals. Never on the loop's thread.
  void wait() { ::pthread_cond_wait(&signalled_, mutex_.native()); }
  void signal() { ::pthread_cond_broadcast(&signalled_); }

  /// Once all that has come is read, what comes next may lie unread until this time: of several
  /// wake-ups that bring a part each, one remains. Timers and other threads are not kept waiting.
  void napUntil(dispatch::TimePoint time) { napUntil_ = time; }

 private:
  struct Api;  ///< what libpulse calls

  template <typename Event>
  using Events = std::vector<std::unique_ptr<Event>>;

  template <typename Event>
  Event* add(Events<Event>& events, Event event);
  void eventsChanged();

  void run();
  bool runDeferred();
  void sleep();
  void runDue();
  void dispatchReady();
  void sweep();
  std::optional<dispatch::TimePoint> nextDue() const;

  const char* const threadName_;
  const std::function<void()> onThread_;
  pa_mainloop_api api_;
  const posix::FileDescriptor wake_;  ///< an eventfd
  dispatch::Mutex mutex_;  ///< libpulse is called with it held: nothing here can be annotated
  pthread_cond_t signalled_ = PTHREAD_COND_INITIALIZER;
  std::thread thread_;

  // With the lock held.
  Events<pa_io_event> descriptors_;
  Events<pa_time_event> timers_;
  Events<pa_defer_event> deferred_;
  bool someAreFreed_ = false;
  bool ending_ = false;
  dispatch::TimePoint napUntil_{};

  // The loop's thread only.
  std::vector<pollfd> polled_;  ///< `wake_`, then the descriptors
};

}  // namespace quorin::audio
