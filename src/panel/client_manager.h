#pragma once

#include "core/log.h"
#include "core/scheduler.h"
#include "core/snapshot.h"
#include "wire/endpoint.h"

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <vector>

namespace quorin::panel {

using ClientList = std::vector<wire::Endpoint>;

/// The clients, with the time of each client's last message. Main queue, except `getClients`.
class ClientManager {
 public:
  static constexpr std::chrono::seconds kCleanupInterval{5};
  static constexpr std::chrono::seconds kInactivityLimit{10};  ///< removed after this silence

  using CountHandler = std::function<void(const ClientList& clients)>;

  /// Removes silent clients every `kCleanupInterval` from now on. `scheduler` must outlive it.
  ///
  /// `onClientCountChanged` runs on a later turn of the main queue, once for all the changes before
  /// it, so that a flood of clients costs little.
  ClientManager(dispatch::Scheduler& scheduler, log::PrintLine print,
                CountHandler onClientCountChanged);

  void addClient(const wire::Endpoint& client);     ///< reports a client that was absent
  void removeClient(const wire::Endpoint& client);  ///< always reports, also one that was absent
  void updateClient(const wire::Endpoint& client);  ///< adds one that was absent, never reports

  std::size_t clientCount() const { return clients_.size(); }

  /// As of the last turn of the main queue; never null. Any thread.
  std::shared_ptr<const ClientList> getClients() const { return published_.load(); }

 private:
  bool touch(const wire::Endpoint& client);
  void cleanupInactiveClients();
  void publishSoon();
  void notifyClientCountChanged();

  dispatch::Scheduler& scheduler_;
  log::PrintLine print_;
  CountHandler onClientCountChanged_;
  std::map<wire::Endpoint, dispatch::TimePoint> clients_;
  dispatch::Snapshot<ClientList> published_{std::make_shared<ClientList>()};
  bool publishIsPending_ = false;
  bool noticeIsPending_ = false;
  dispatch::Scope scope_;
  std::unique_ptr<dispatch::Timer> cleanupTimer_;
};

}  // namespace quorin::panel
