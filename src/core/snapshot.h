#pragma once

#include "core/thread_safety.h"

#include <memory>
#include <utility>

namespace quorin::dispatch {

/// The newest immutable value that one thread has published for others; null before the first.
/// Any thread.
///
/// The lock is held for the copy of one pointer; a value is built, and an old one destroyed,
/// outside of it. Not `std::atomic<std::shared_ptr>`: libstdc++ spins in there on a lock of its
/// own, and a real-time reader that spins keeps the writer it waits for off the processor.
template <typename T>
class Snapshot {
 public:
  Snapshot() = default;
  explicit Snapshot(std::shared_ptr<const T> first) : value_(std::move(first)) {}

  std::shared_ptr<const T> load() const {
    const Lock lock(mutex_);
    return value_;
  }

  void store(std::shared_ptr<const T> value) {
    const Lock lock(mutex_);
    value_.swap(value);
  }

 private:
  mutable Mutex mutex_;
  std::shared_ptr<const T> value_ GUARDED_BY(mutex_);
};

}  // namespace quorin::dispatch
