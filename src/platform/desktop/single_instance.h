#pragma once

#include "core/queue.h"
#include "platform/posix/file_descriptor.h"

#include <QString>
#include <QStringList>
#include <functional>
#include <memory>

namespace quorin::desktop {

/// One running program a user: the first start holds a lock in the runtime folder for as long as
/// it lives, and a later one hands what it was asked to do over to it, through a socket there. A
/// start that finds no such folder is the first. Main thread.
class SingleInstance {
 public:
  /// What a later start was asked to do.
  struct Request {
    QStringList arguments;    ///< without the program's name
    QString activationToken;  ///< the launcher's, for the window; may be empty
  };
  /// Called once, now or later; `refusal` says why not, and is empty when the request is met.
  using Answer = std::function<void(const QString& refusal)>;

  SingleInstance();
  ~SingleInstance();
  SingleInstance(const SingleInstance&) = delete;
  SingleInstance& operator=(const SingleInstance&) = delete;

  bool isFirst() const { return isFirst_; }

  /// Of the first: `handler` gets each request, on `main`, those included that came before this
  /// call.
  void serve(dispatch::Queue& main, std::function<void(const Request&, Answer)> handler);

  /// Of a later start: waits for the answer, at most 10 s.
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
