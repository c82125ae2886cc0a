#pragma once

#include "platform/dispatch/queue.h"
#include "platform/posix/file_descriptor.h"

#include <expected>
#include <memory>
#include <system_error>

namespace quorin::usb {

/// Runs its handler on its queue, once per `arm`, when the descriptor is writable or broken. The
/// descriptor must outlive it; cancelled by destruction, with the rules of `dispatch::Timer`.
///
/// An epoll set is itself readable when a member is ready, which makes a read source of it.
class WritableSource {
 public:
  static std::expected<std::unique_ptr<WritableSource>, std::error_code> make(
      dispatch::Queue& queue, int descriptor, dispatch::Task handler);

  /// On the source's queue. One system call.
  void arm();

 private:
  WritableSource(posix::FileDescriptor epoll, int descriptor);

  posix::FileDescriptor epoll_;
  int descriptor_;
  std::unique_ptr<dispatch::ReadSource> source_;
};

}  // namespace quorin::usb
