#pragma once

#include "platform/dispatch/thread_safety.h"

#include <netinet/in.h>

#include <memory>
#include <utility>
#include <vector>

namespace quorin::panel {

/// Where every chunk is sent: the addresses of all clients, resolved when a client is added so that
/// nobody has to do it for each chunk. Any thread; a list that has been loaded never changes.
class Recipients {
 public:
  using List = std::vector<sockaddr_in>;

  std::shared_ptr<const List> load() const {
    const dispatch::Lock lock(mutex_);
    return list_;
  }

  void publish(List list) {
    auto next = std::make_shared<const List>(std::move(list));
    const dispatch::Lock lock(mutex_);
    std::swap(list_, next);
  }

 private:
  mutable dispatch::Mutex mutex_;  ///< held for the copy of one pointer
  std::shared_ptr<const List> list_ GUARDED_BY(mutex_) = std::make_shared<const List>();
};

}  // namespace quorin::panel
