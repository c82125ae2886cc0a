#pragma once

#include <functional>
#include <memory>
#include <utility>

namespace quorin::dispatch {

using Task = std::move_only_function<void()>;

/// A lifetime token for posted work that uses its owner's `this`: work bound to the scope runs only
/// while the scope lives, and is dropped silently afterwards.
///
/// Safe only where the object is destroyed on the queue that runs the work (a task that has begun
/// elsewhere is not waited for). Work for another queue must own what it uses.
class Scope {
 public:
  Scope() = default;
  Scope(const Scope&) = delete;
  Scope& operator=(const Scope&) = delete;

  /// Drops all work bound so far; work bound afterwards runs again.
  void cancelAll() { alive_ = std::make_shared<char>(); }

  /// Binds a task, or a callback with arguments and no result.
  template <typename Work>
  auto bind(Work work) const {
    return
        [alive = std::weak_ptr<char>(alive_), work = std::move(work)](auto&&... arguments) mutable {
          if (!alive.expired()) work(std::forward<decltype(arguments)>(arguments)...);
        };
  }

 private:
  std::shared_ptr<char> alive_ = std::make_shared<char>();
};

}  // namespace quorin::dispatch
