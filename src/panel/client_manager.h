#pragma once

#include "panel/recipients.h"
#include "core/scheduler.h"
#include "core/thread_safety.h"
#include "core/log.h"

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace quorin::panel {

/// Who has been heard of lately, by client key. Made, changed and destroyed on the main queue;
/// reading is allowed on any thread.
class ClientManager {
 public:
  static constexpr std::chrono::seconds kCleanupInterval{5};
  static constexpr std::chrono::seconds kInactivityLimit{10};  ///< longer silence removes

  using CountHandler = std::function<void(int count, const std::vector<std::string>& keys)>;

  /// Sweeps every `kCleanupInterval` from now on. `scheduler` must outlive the table.
  ClientManager(dispatch::Scheduler& scheduler, log::PrintLine print);
  ClientManager(const ClientManager&) = delete;
  ClientManager& operator=(const ClientManager&) = delete;

  /// `handler` runs on a later turn of the main queue, with the table as it was when it changed,
  /// also when the table has been destroyed in between.
  void setOnClientCountChanged(CountHandler handler);

  void addClient(const std::string& key);     ///< reports a key that was absent
  void removeClient(const std::string& key);  ///< always reports, also a key that was absent
  void updateClient(const std::string& key);  ///< adds a key that was absent, never reports

  std::vector<std::string> getClients() const;
  int clientCount() const;

  /// The clients' addresses, for the thread that sends to all of them. Lives on without the table.
  std::shared_ptr<const Recipients> recipients() const { return recipients_; }

 private:
  struct Client {
    dispatch::TimePoint lastSeen;
    std::optional<sockaddr_in> address;  ///< none for a key that names no address
  };

  bool hear(const std::string& key);
  void cleanupInactiveClients();
  void notifyClientCountChanged();
  std::vector<std::string> keys() const REQUIRES(lock_);
  void publishRecipients() REQUIRES(lock_);

  dispatch::Scheduler& scheduler_;
  log::PrintLine print_;
  std::shared_ptr<CountHandler> onClientCountChanged_;
  std::shared_ptr<Recipients> recipients_;

  mutable dispatch::Mutex lock_;
  std::map<std::string, Client> clients_ GUARDED_BY(lock_);

  std::unique_ptr<dispatch::Timer> cleanupTimer_;
};

}  // namespace quorin::panel
