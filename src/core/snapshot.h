#pragma once

#include "core/thread_safety.h"

#include <memory>
#include <utility>

namespace quorin::dispatch {

/// The latest immutable value published by one thread for others; null before the first. Any
/// thread.
///
/// The lock covers one pointer copy only; values are built and destroyed outside it. Not
/// `std::atomic<std::shared_ptr>`: libstdc++ implements it with a spinlock, and a spinning
/// real-time reader can keep the writer off the CPU.
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
