#include "panel/client_manager.h"

#include <ranges>
#include <utility>

namespace quorin::panel {

ClientManager::ClientManager(dispatch::Scheduler& scheduler, log::PrintLine print,
                             CountHandler onClientCountChanged)
    : scheduler_(scheduler),
      print_(std::move(print)),
      onClientCountChanged_(std::move(onClientCountChanged)),
      cleanupTimer_(
          scheduler.mainQueue().makeTimer({.first = kCleanupInterval, .interval = kCleanupInterval},
                                          [this] { cleanupInactiveClients(); })) {}

void ClientManager::addClient(const wire::Endpoint& client) {
  if (touch(client)) notifyClientCountChanged();
}

void ClientManager::updateClient(const wire::Endpoint& client) {
  if (touch(client)) publishSoon();
}

void ClientManager::removeClient(const wire::Endpoint& client) {
  clients_.erase(client);
  notifyClientCountChanged();
}

/// True when the client was absent.
bool ClientManager::touch(const wire::Endpoint& client) {
  return clients_.insert_or_assign(client, scheduler_.now()).second;
}

void ClientManager::cleanupInactiveClients() {
  const auto removed = std::erase_if(clients_, [&](const auto& entry) {
    if (scheduler_.now() - entry.second <= kInactivityLimit) return false;
    print_("⚠️ Cliente inactivo: " + entry.first.text());
    return true;
  });
  if (removed > 0) notifyClientCountChanged();
}

void ClientManager::notifyClientCountChanged() {
  noticeIsPending_ = true;
  publishSoon();
}

void ClientManager::publishSoon() {
  if (std::exchange(publishIsPending_, true)) return;
  scheduler_.mainQueue().async(scope_, [this] {
    publishIsPending_ = false;
    const auto keys = std::views::keys(clients_);
    const auto list = std::make_shared<const ClientList>(keys.begin(), keys.end());
    published_.store(list);
    if (std::exchange(noticeIsPending_, false)) onClientCountChanged_(*list);
  });
}

}  // namespace quorin::panel
