#pragma once

#include "core/scheduler.h"

#include <cstddef>
#include <functional>

namespace quorin::usb {

/// Bounds what a peer makes this program write: `kLinesPerSecond` pass, the rest are counted, and
/// reported in one call when the second is over. Main queue.
class LineLimit {
 public:
  static constexpr std::size_t kLinesPerSecond = 20;
  using Summary = std::move_only_function<void(std::size_t leftOut)>;

  LineLimit(dispatch::Queue& main, Summary summary) : main_(main), summary_(std::move(summary)) {}

  /// Whether the next line may be written.
  bool admits();

 private:
  void endSecond();

  dispatch::Queue& main_;
  Summary summary_;
  std::size_t lines_ = 0;  ///< since the second began; 0: none has
  dispatch::Scope scope_;
};

}  // namespace quorin::usb
