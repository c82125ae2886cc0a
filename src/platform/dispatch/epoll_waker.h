#pragma once

#include "core/queue_core.h"
#include "platform/posix/file_descriptor.h"

#include <optional>

namespace quorin::dispatch {

/// Sleeps to an absolute deadline, a wake-up or a readable descriptor, whichever comes first. The
/// runner's thread calls `collect`; the epoll descriptor can itself be watched by another loop.
class EpollWaker : public Waker {
 public:
  EpollWaker();

  TimePoint now() const override;
  void wake() override;
  void arm(int descriptor) override;
  void disarm(int descriptor) override;

  int descriptor() const { return epoll_.get(); }

  /// `collect` returns, and `descriptor()` becomes readable, no later than this.
  void setDeadline(std::optional<TimePoint> deadline);

  enum class Wait { kNo, kYes };
  /// Marks in `core` what is readable. With kYes, sleeps first if nothing has happened.
  void collect(QueueCore& core, Wait wait);

 private:
  posix::FileDescriptor epoll_;
  posix::FileDescriptor event_;
  posix::FileDescriptor timer_;
  std::optional<TimePoint> deadline_;
};

}  // namespace quorin::dispatch
