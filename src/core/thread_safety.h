#pragma once

#include <pthread.h>

/// Annotations for clang's -Wthread-safety; empty for other compilers. The wrappers exist because
/// the standard mutexes are not annotated.
#if defined(__clang__)
#define QUORIN_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define QUORIN_THREAD_ATTRIBUTE(x)
#endif

#define GUARDED_BY(x) QUORIN_THREAD_ATTRIBUTE(guarded_by(x))
#define REQUIRES(...) QUORIN_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))

namespace quorin::dispatch {

/// With priority inheritance: a waiting real-time thread raises the holder's priority.
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

 private:
  pthread_mutex_t mutex_;
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
