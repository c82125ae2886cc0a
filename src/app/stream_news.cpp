#include "app/stream_news.h"

#include <utility>

namespace quorin::app {

std::optional<News> StreamNews::take(const StreamState& now) {
  const auto before = std::exchange(last_, now);
  if (now.windowShown) return std::nullopt;
  if (before.streaming && now.devicesWrong) return News::kStopped;
  if (!now.streaming) return std::nullopt;
  if (!now.problem.isEmpty() && now.problem != before.problem) return News::kNotStarted;
  if (before.windowShown) {
    if (std::exchange(goesOnTold_, true)) return std::nullopt;
    return News::kGoesOn;
  }
  if (now.listeners > before.listeners) return News::kJoined;
  if (now.listeners < before.listeners) return News::kLeft;
  return std::nullopt;
}

}  // namespace quorin::app
