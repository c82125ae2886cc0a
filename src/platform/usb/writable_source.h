#pragma once

#include "core/queue.h"
#include "platform/posix/file_descriptor.h"

#include <memory>
#include <system_error>

namespace quorin::usb {

/// Runs its handler on its queue, once per `arm`, when the socket is writable or broken. Cancelled
/// by destruction, with the rules of `dispatch::Timer`.
///
/// An epoll set is itself readable when a member is ready, which makes a read source of it.
class WritableSource {
 public:
  WritableSource(dispatch::Queue& queue, std::shared_ptr<const posix::FileDescriptor> socket,
                 dispatch::Task handler);

  /// On the source's queue. One system call. An error when the system has no descriptor left.
  std::error_code arm();

 private:
  // Also held by a handler that runs while the source is destroyed.
  std::shared_ptr<const posix::FileDescriptor> epoll_;
  std::shared_ptr<const posix::FileDescriptor> socket_;
  std::unique_ptr<dispatch::ReadSource> source_;
};

}  // namespace quorin::usb
