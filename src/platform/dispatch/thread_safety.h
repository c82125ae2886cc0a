#pragma once

#include <mutex>

/// Annotations for clang's -Wthread-safety; nothing elsewhere. The standard library's mutex
/// carries none, hence the wrapper.
#if defined(__clang__)
#define QUORIN_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define QUORIN_THREAD_ATTRIBUTE(x)
#endif

#define GUARDED_BY(x) QUORIN_THREAD_ATTRIBUTE(guarded_by(x))
#define REQUIRES(...) QUORIN_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
#define EXCLUDES(...) QUORIN_THREAD_ATTRIBUTE(locks_excluded(__VA_ARGS__))

namespace quorin::dispatch {

class QUORIN_THREAD_ATTRIBUTE(capability("mutex")) Mutex {
 public:
  void lock() QUORIN_THREAD_ATTRIBUTE(acquire_capability()) { mutex_.lock(); }
  void unlock() QUORIN_THREAD_ATTRIBUTE(release_capability()) { mutex_.unlock(); }

 private:
  std::mutex mutex_;
};

class QUORIN_THREAD_ATTRIBUTE(scoped_lockable) Lock {
 public:
  explicit Lock(Mutex& mutex) QUORIN_THREAD_ATTRIBUTE(acquire_capability(mutex)) : mutex_(mutex) {
    mutex_.lock();
  }
  ~Lock() QUORIN_THREAD_ATTRIBUTE(release_capability()) { mutex_.unlock(); }
  Lock(const Lock&) = delete;
  Lock& operator=(const Lock&) = delete;

 private:
  Mutex& mutex_;
};

}  // namespace quorin::dispatch
