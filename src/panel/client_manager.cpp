#include "panel/client_manager.h"

#include "panel/datagram_socket.h"

#include <utility>

namespace quorin::panel {

ClientManager::ClientManager(dispatch::Scheduler& scheduler, log::PrintLine print)
    : scheduler_(scheduler),
      print_(std::move(print)),
      onClientCountChanged_(std::make_shared<CountHandler>()),
      recipients_(std::make_shared<Recipients>(std::make_shared<const RecipientList>())),
      cleanupTimer_(
          scheduler.mainQueue().makeTimer({.first = kCleanupInterval, .interval = kCleanupInterval},
                                          [this] { cleanupInactiveClients(); })) {}

void ClientManager::setOnClientCountChanged(CountHandler handler) {
  *onClientCountChanged_ = std::move(handler);
}

void ClientManager::addClient(const std::string& key) {
  if (hear(key)) notifyClientCountChanged();
}

void ClientManager::updateClient(const std::string& key) {
  hear(key);
}

void ClientManager::removeClient(const std::string& key) {
  {
    const dispatch::Lock lock(lock_);
    if (clients_.erase(key) > 0) publishRecipients();
  }
  notifyClientCountChanged();
}

std::vector<std::string> ClientManager::getClients() const {
  const dispatch::Lock lock(lock_);
  return keys();
}

int ClientManager::clientCount() const {
  const dispatch::Lock lock(lock_);
  return static_cast<int>(clients_.size());
}

/// True when the key was absent.
bool ClientManager::hear(const std::string& key) {
  const auto now = scheduler_.now();
  const dispatch::Lock lock(lock_);
  const auto [entry, isNew] = clients_.try_emplace(key);
  entry->second.lastSeen = now;
  if (!isNew) return false;
  entry->second.address = resolveClientKey(key);
  publishRecipients();
  return true;
}

void ClientManager::cleanupInactiveClients() {
  std::vector<std::string> removed;
  {
    const auto now = scheduler_.now();
    const dispatch::Lock lock(lock_);
    std::erase_if(clients_, [&](const auto& entry) {
      if (now - entry.second.lastSeen <= kInactivityLimit) return false;
      removed.push_back(entry.first);
      return true;
    });
    if (removed.empty()) return;
    publishRecipients();
  }
  for (const auto& key : removed) print_("⚠️ Cliente inactivo: " + key);
  notifyClientCountChanged();
}

void ClientManager::notifyClientCountChanged() {
  auto keys = getClients();
  scheduler_.mainQueue().async([handler = onClientCountChanged_, keys = std::move(keys)] {
    if (*handler) (*handler)(static_cast<int>(keys.size()), keys);
  });
}

std::vector<std::string> ClientManager::keys() const {
  std::vector<std::string> result;
  result.reserve(clients_.size());
  for (const auto& [key, client] : clients_) result.push_back(key);
  return result;
}

void ClientManager::publishRecipients() {
  RecipientList addresses;
  addresses.reserve(clients_.size());
  for (const auto& [key, client] : clients_) {
    if (client.address) addresses.push_back(*client.address);
  }
  recipients_->store(std::make_shared<const RecipientList>(std::move(addresses)));
}

}  // namespace quorin::panel
