#pragma once

#include "core/queue.h"

#include <cstddef>
#include <functional>
#include <utility>

namespace quorin::usb {

/// Limits the log lines a peer can cause: `kLinesPerSecond` pass; the rest are counted and reported
/// in one call at the end of the second. Main queue.
class LineLimit {
 public:
  static constexpr std::size_t kLinesPerSecond = 20;
  using Summary = std::move_only_function<void(std::size_t leftOut)>;

  LineLimit(dispatch::Queue& main, Summary summary) : main_(main), summary_(std::move(summary)) {}

  /// Whether the next line may be written.
  bool admits() {
    if (++lines_ == 1) {
      main_.asyncAfter(std::chrono::seconds(1), scope_, [this] {
        const auto lines = std::exchange(lines_, 0);
        if (lines > kLinesPerSecond) summary_(lines - kLinesPerSecond);
      });
    }
    return lines_ <= kLinesPerSecond;
  }

 private:
  dispatch::Queue& main_;
  Summary summary_;
  std::size_t lines_ = 0;  ///< in the current second; 0: no second has begun
  dispatch::Scope scope_;
};

}  // namespace quorin::usb
