#include "core/log.h"

#include <poll.h>
#include <unistd.h>

#include <QByteArray>
#include <QLoggingCategory>
#include <QString>
#include <cstdio>
#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace quorin::log {
namespace {

const QLoggingCategory& category(std::string_view area) {
  static std::mutex mutex;
  static std::map<std::string, std::unique_ptr<QLoggingCategory>, std::less<>> categories;
  // The category keeps a pointer to its name, which therefore lives beside it as the key.
  const std::scoped_lock lock(mutex);
  const auto name = "quorin." + std::string(area);
  auto entry = categories.try_emplace(name).first;
  if (!entry->second) {
    entry->second = std::make_unique<QLoggingCategory>(entry->first.c_str(), QtInfoMsg);
  }
  return *entry->second;
}

QString text(std::string_view line) {
  return QString::fromUtf8(line.data(), static_cast<qsizetype>(line.size()));
}

/// Whether standard output takes a line at once. A pipe that says so has room for 4096 bytes.
bool outputHasRoom() {
  pollfd output{.fd = STDOUT_FILENO, .events = POLLOUT, .revents = 0};
  return ::poll(&output, 1, 0) == 1;
}

}  // namespace

void print(std::string_view line) {
  if (!outputHasRoom()) return;
  ::flockfile(stdout);  // one line stays one line, whoever else prints
  ::fwrite_unlocked(line.data(), 1, line.size(), stdout);
  // NOLINTNEXTLINE(concurrency-mt-unsafe): the lock above makes it safe
  ::putc_unlocked('\n', stdout);
  ::fflush_unlocked(stdout);
  ::funlockfile(stdout);
}

void note(std::string_view area, std::string_view line) {
  const auto& where = category(area);
  qCInfo(where).noquote() << text(line);
}

void detail(std::string_view area, std::string_view line) {
  const auto& where = category(area);
  qCDebug(where).noquote() << text(line);
}

}  // namespace quorin::log
