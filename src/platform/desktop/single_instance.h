#pragma once

#include "core/queue.h"
#include "platform/posix/file_descriptor.h"

#include <QString>
#include <QStringList>
#include <functional>
#include <memory>

namespace quorin::desktop {

/// Allows one running instance per user: the first holds a lock in the runtime folder; a later
/// start sends its request through a socket there. Without a runtime folder, every start counts as
/// the first. Main thread.
class SingleInstance {
 public:
  /// What a later start was asked to do.
  struct Request {
    QStringList arguments;    ///< without the program's name
    QString activationToken;  ///< the launcher's, for the window; may be empty
  };
  /// Call exactly once, possibly later. `refusal`: the reason, for the user; empty on success.
  using Answer = std::function<void(const QString& refusal)>;

  SingleInstance();
  SingleInstance(const SingleInstance&) = delete;
  SingleInstance& operator=(const SingleInstance&) = delete;

  bool isFirst() const { return isFirst_; }

  /// For the first: `handler` gets each request on `main`, including those from before this call.
  void serve(dispatch::Queue& main, std::function<void(const Request&, Answer)> handler);

  /// For a later start: sends the request and waits at most 10 s for the answer, which it returns.
  QString handOver(const QStringList& arguments);

 private:
  void readRequests();

  posix::FileDescriptor lock_;
  posix::FileDescriptor socket_;
  bool isFirst_ = true;
  std::function<void(const Request&, Answer)> handler_;
  std::unique_ptr<dispatch::ReadSource> source_;
};

}  // namespace quorin::desktop
