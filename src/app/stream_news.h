#pragma once

#include <QString>
#include <cstddef>
#include <optional>

/// Which changes of the stream are worth a notification while the window is hidden. Pure.
namespace quorin::app {

struct StreamState {
  bool windowShown = true;
  bool streaming = false;  ///< a mode is open, and nothing stands in front of its page
  std::size_t listeners = 0;
  bool devicesWrong = false;  ///< the guard or the microphone screen is in front
  QString problem{};          ///< why the server does not run; empty when it does

  bool operator==(const StreamState&) const = default;
};

enum class News {
  kGoesOn,  ///< the window was closed while streaming; once
  kJoined,  ///< a listener; this and the following only while the window is closed
  kLeft,
  kStopped,     ///< the devices have changed
  kNotStarted,  ///< the server could not start
};

class StreamNews {
 public:
  /// The notification for the change from the previous state to `now`, if any.
  std::optional<News> take(const StreamState& now);

 private:
  StreamState last_;
  bool goesOnTold_ = false;
};

}  // namespace quorin::app
