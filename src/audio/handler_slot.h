#pragma once

#include "core/thread_safety.h"

#include <algorithm>
#include <atomic>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace quorin::audio {

/// A callback that any thread may replace while one other thread keeps calling it.
///
/// The caller's side never waits, locks or allocates: it announces the handler it is about to
/// call, and a replaced handler that is announced lives on until a later replacement (or the end
/// of the slot) finds it free. So a replaced handler may still finish one call that had begun.
template <typename... Arguments>
class HandlerSlot {
 public:
  using Handler = std::function<void(Arguments...)>;

  HandlerSlot() = default;
  HandlerSlot(const HandlerSlot&) = delete;
  HandlerSlot& operator=(const HandlerSlot&) = delete;

  /// Any thread, also from inside the handler. An empty handler: nothing is called.
  void replace(Handler handler) {
    auto next = handler ? std::make_unique<Handler>(std::move(handler)) : nullptr;
    std::vector<std::unique_ptr<Handler>> unused;  // destroyed after the lock
    const dispatch::Lock lock(mutex_);
    current_ = next.get();
    const auto free = std::ranges::partition(
        owned_, [this](const auto& owned) { return owned.get() == calling_; });
    std::ranges::move(free, std::back_inserter(unused));
    owned_.erase(free.begin(), free.end());
    if (next) owned_.push_back(std::move(next));
  }

  /// On one thread at a time.
  void call(Arguments... arguments) {
    Handler* handler = current_;
    // Announce, then look again: a replacement in between may not have seen the announcement.
    for (Handler* announced = nullptr; announced != handler; handler = current_) {
      announced = handler;
      calling_ = announced;
    }
    if (handler != nullptr) (*handler)(arguments...);
    calling_ = nullptr;
  }

 private:
  std::atomic<Handler*> current_ = nullptr;
  std::atomic<Handler*> calling_ = nullptr;
  dispatch::Mutex mutex_;  ///< between replacements only
  std::vector<std::unique_ptr<Handler>> owned_ GUARDED_BY(mutex_);
};

}  // namespace quorin::audio
