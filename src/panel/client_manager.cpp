#include "panel/client_manager.h"

#include "panel/udp_socket.h"

#include <utility>

namespace quorin::panel {

std::vector<std::string> ClientManager::Table::keys() const {
  std::vector<std::string> result;
  result.reserve(clients.size());
  for (const auto& [key, client] : clients) result.push_back(key);
  return result;
}

ClientManager::ClientManager(dispatch::Scheduler& scheduler, log::PrintLine print)
    : scheduler_(scheduler),
      print_(std::move(print)),
      cleanupTimer_(
          scheduler.mainQueue().makeTimer({.first = kCleanupInterval, .interval = kCleanupInterval},
                                          [this] { cleanupInactiveClients(); })) {}

void ClientManager::setOnClientCountChanged(CountHandler handler) {
  table_->onClientCountChanged = std::move(handler);
}

void ClientManager::addClient(const std::string& key) {
  if (touch(key)) notifyClientCountChanged();
}

void ClientManager::updateClient(const std::string& key) {
  touch(key);
}

void ClientManager::removeClient(const std::string& key) {
  if (table_->clients.erase(key) > 0) publishRecipientsSoon();
  notifyClientCountChanged();
}

/// True when the key was absent.
bool ClientManager::touch(const std::string& key) {
  const auto [entry, isNew] = table_->clients.try_emplace(key);
  entry->second.lastSeen = scheduler_.now();
  if (isNew) {
    entry->second.address = resolveClientKey(key);
    publishRecipientsSoon();
  }
  return isNew;
}

void ClientManager::cleanupInactiveClients() {
  const auto now = scheduler_.now();
  const auto removed = std::erase_if(table_->clients, [&](const auto& entry) {
    if (now - entry.second.lastSeen <= kInactivityLimit) return false;
    print_("⚠️ Cliente inactivo: " + entry.first);
    return true;
  });
  if (removed == 0) return;
  publishRecipientsSoon();
  notifyClientCountChanged();
}

void ClientManager::notifyClientCountChanged() {
  if (table_->noticeIsPending) {
    table_->hasChanged = true;
  } else {
    postNotice(scheduler_.mainQueue(), table_);
  }
}

void ClientManager::postNotice(dispatch::Queue& main, std::shared_ptr<Table> table) {
  table->noticeIsPending = true;
  table->hasChanged = false;
  main.async([&main, keys = table->keys(), table = std::move(table)] {
    const auto& handler = table->onClientCountChanged;
    if (handler) handler(static_cast<int>(keys.size()), keys);
    table->noticeIsPending = false;
    if (table->hasChanged) postNotice(main, table);
  });
}

void ClientManager::publishRecipientsSoon() {
  if (std::exchange(publishIsPending_, true)) return;
  scheduler_.mainQueue().async(scope_, [this] {
    publishIsPending_ = false;
    auto addresses = std::make_shared<RecipientList>();
    addresses->reserve(table_->clients.size());
    for (const auto& [key, client] : table_->clients) {
      if (client.address) addresses->push_back(*client.address);
    }
    recipients_->store(std::move(addresses));
  });
}

}  // namespace quorin::panel
