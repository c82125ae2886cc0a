#pragma once

#include "core/log.h"
#include "core/scheduler.h"
#include "core/snapshot.h"
#include "wire/endpoint.h"

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace quorin::panel {

/// Where every chunk is sent: the clients' addresses, resolved when a client is added. Never null.
using RecipientList = std::vector<wire::Endpoint>;
using Recipients = dispatch::Snapshot<RecipientList>;

/// The clients by key, with the time of each client's last message. Main queue only; other threads
/// read the published `recipients`.
class ClientManager {
 public:
  static constexpr std::chrono::seconds kCleanupInterval{5};
  static constexpr std::chrono::seconds kInactivityLimit{10};  ///< removed after this silence

  using CountHandler = std::function<void(int count, const std::vector<std::string>& keys)>;

  /// Removes silent clients every `kCleanupInterval` from now on. `scheduler` must outlive it.
  ClientManager(dispatch::Scheduler& scheduler, log::PrintLine print);

  /// `handler` runs on a later turn of the main queue, with the table as it was when it changed,
  /// even if this object is gone by then. Only one notice is pending at a time: later changes join
  /// it, so that a flood of clients costs little.
  void setOnClientCountChanged(CountHandler handler);

  void addClient(const std::string& key);     ///< reports a key that was absent
  void removeClient(const std::string& key);  ///< always reports, also a key that was absent
  void updateClient(const std::string& key);  ///< adds a key that was absent, never reports

  std::vector<std::string> getClients() const { return table_->keys(); }
  int clientCount() const { return static_cast<int>(table_->clients.size()); }

  /// Updated one turn of the main queue after the table. Any thread; may outlive this object.
  std::shared_ptr<const Recipients> recipients() const { return recipients_; }

 private:
  struct Client {
    dispatch::TimePoint lastSeen;
    std::optional<wire::Endpoint> address;  ///< none for a key that names no address
  };
  struct Table {
    std::map<std::string, Client> clients;
    CountHandler onClientCountChanged;
    bool noticeIsPending = false;
    bool hasChanged = false;  ///< since the pending notice was posted

    std::vector<std::string> keys() const;
  };

  bool touch(const std::string& key);
  void cleanupInactiveClients();
  void notifyClientCountChanged();
  static void postNotice(dispatch::Queue& main, std::shared_ptr<Table> table);
  void publishRecipientsSoon();

  dispatch::Scheduler& scheduler_;
  log::PrintLine print_;
  std::shared_ptr<Table> table_ = std::make_shared<Table>();
  std::shared_ptr<Recipients> recipients_ =
      std::make_shared<Recipients>(std::make_shared<const RecipientList>());
  bool publishIsPending_ = false;
  dispatch::Scope scope_;
  std::unique_ptr<dispatch::Timer> cleanupTimer_;
};

}  // namespace quorin::panel
