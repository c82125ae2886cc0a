#pragma once

#include <pthread.h>

#include <shared_mutex>

/// Annotations for clang's -Wthread-safety; nothing elsewhere. The standard library's
/// mutexes carry none, hence the wrappers.
#if defined(__clang__)
#define QUORIN_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define QUORIN_THREAD_ATTRIBUTE(x)
#endif

#define GUARDED_BY(x) QUORIN_THREAD_ATTRIBUTE(guarded_by(x))
#define REQUIRES(...) QUORIN_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
#define EXCLUDES(...) QUORIN_THREAD_ATTRIBUTE(locks_excluded(__VA_ARGS__))

namespace quorin::dispatch {

/// Whoever waits for it lends its priority to the holder: a real-time thread never waits behind
/// what keeps the holder off its processor.
class QUORIN_THREAD_ATTRIBUTE(capability("mutex")) Mutex {
 public:
  Mutex() {
    pthread_mutexattr_t attributes;
    ::pthread_mutexattr_init(&attributes);
    ::pthread_mutexattr_setprotocol(&attributes, PTHREAD_PRIO_INHERIT);
    ::pthread_mutex_init(&mutex_, &attributes);
    ::pthread_mutexattr_destroy(&attributes);
  }
  ~Mutex() { ::pthread_mutex_destroy(&mutex_); }
  Mutex(const Mutex&) = delete;
  Mutex& operator=(const Mutex&) = delete;

  void lock() QUORIN_THREAD_ATTRIBUTE(acquire_capability()) { ::pthread_mutex_lock(&mutex_); }
  void unlock() QUORIN_THREAD_ATTRIBUTE(release_capability()) { ::pthread_mutex_unlock(&mutex_); }

  /// For a condition to wait with.
  pthread_mutex_t* native() { return &mutex_; }

 private:
  pthread_mutex_t mutex_;
};

/// Held by many at once with `SharedLock`, or by one alone with `Lock`.
class QUORIN_THREAD_ATTRIBUTE(capability("shared mutex")) SharedMutex {
 public:
  void lock() QUORIN_THREAD_ATTRIBUTE(acquire_capability()) { mutex_.lock(); }
  void unlock() QUORIN_THREAD_ATTRIBUTE(release_capability()) { mutex_.unlock(); }
  void lockShared() QUORIN_THREAD_ATTRIBUTE(acquire_shared_capability()) { mutex_.lock_shared(); }
  void unlockShared() QUORIN_THREAD_ATTRIBUTE(release_shared_capability()) {
    mutex_.unlock_shared();
  }

 private:
  std::shared_mutex mutex_;
};

template <typename Lockable>
class QUORIN_THREAD_ATTRIBUTE(scoped_lockable) Lock {
 public:
  explicit Lock(Lockable& mutex) QUORIN_THREAD_ATTRIBUTE(acquire_capability(mutex))
      : mutex_(mutex) {
    mutex_.lock();
  }
  ~Lock() QUORIN_THREAD_ATTRIBUTE(release_capability()) { mutex_.unlock(); }
  Lock(const Lock&) = delete;
  Lock& operator=(const Lock&) = delete;

 private:
  Lockable& mutex_;
};

class QUORIN_THREAD_ATTRIBUTE(scoped_lockable) SharedLock {
 public:
  explicit SharedLock(SharedMutex& mutex) QUORIN_THREAD_ATTRIBUTE(acquire_shared_capability(mutex))
      : mutex_(mutex) {
    mutex_.lockShared();
  }
  ~SharedLock() QUORIN_THREAD_ATTRIBUTE(release_generic_capability()) { mutex_.unlockShared(); }
  SharedLock(const SharedLock&) = delete;
  SharedLock& operator=(const SharedLock&) = delete;

 private:
  SharedMutex& mutex_;
};

}  // namespace quorin::dispatch
