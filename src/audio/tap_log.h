#pragma once

#include "core/queue.h"
#include "core/log.h"

#include <memory>
#include <string>
#include <string_view>

namespace quorin::audio {

/// Carries the tap's log lines to a queue that may wait for standard output: the tap only leaves
/// them in a ring. Lines that find the ring full (the output is stuck) are lost.
class TapLog {
 public:
  TapLog(dispatch::Queue& queue, log::PrintLine print);
  ~TapLog();
  TapLog(const TapLog&) = delete;
  TapLog& operator=(const TapLog&) = delete;

  // On the tap's thread.

  void line(std::string text);
  /// The statistics line for `chunks` chunks; allocates nothing.
  void statistics(int chunks);

  /// Prints what is waiting, before it returns. While no tap is installed.
  void flush();

 private:
  struct Ring;

  void push(int chunks, std::string text);

  std::shared_ptr<Ring> ring_;
  std::unique_ptr<dispatch::EventSource> drain_;
};

}  // namespace quorin::audio
