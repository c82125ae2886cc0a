#pragma once

#include "core/queue.h"

#include <cassert>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace quorin::panel {

/// Something whose published values others show. It says that a value is about to change, before
/// it does; who listens looks at the values on a later turn of the main queue. Main queue only.
class ObservableObject {
 public:
  /// Keeps an observer on; destroying it takes it off.
  using Subscription = std::shared_ptr<void>;

  explicit ObservableObject(dispatch::Queue& main) : main_(main) {}
  ObservableObject(const ObservableObject&) = delete;
  ObservableObject& operator=(const ObservableObject&) = delete;

  [[nodiscard]] Subscription onWillChange(std::function<void()> observer) {
    auto kept = std::make_shared<std::function<void()>>(std::move(observer));
    observers_.push_back(kept);
    return kept;
  }

 protected:
  ~ObservableObject() = default;

 private:
  template <typename T>
  friend class Published;

  void announceChange() {
    assert(main_.isCurrent());
    std::erase_if(observers_, [](const auto& observer) { return observer.expired(); });
    for (const auto& weak : std::vector(observers_)) {  // an observer may add or end another
      if (const auto observer = weak.lock()) (*observer)();
    }
  }

  dispatch::Queue& main_;
  std::vector<std::weak_ptr<std::function<void()>>> observers_;
};

/// One value of an observable object; each assignment announces itself first, also one of an
/// equal value.
template <typename T>
class Published {
 public:
  Published(ObservableObject& owner, T initial) : owner_(owner), value_(std::move(initial)) {}
  Published(const Published&) = delete;

  Published& operator=(const Published&) = delete;
  Published& operator=(T value) {
    owner_.announceChange();
    value_ = std::move(value);
    return *this;
  }

  const T& get() const { return value_; }

 private:
  ObservableObject& owner_;
  T value_;
};

}  // namespace quorin::panel
