#include "core/log.h"

#include <poll.h>
#include <unistd.h>

#include <QByteArray>
#include <QLoggingCategory>
#include <QString>
#include <climits>
#include <mutex>
#include <string>
#include <utility>

namespace quorin::log {
namespace {

std::string categoryOf(std::string_view area) {
  return "quorin." + std::string(area);
}

QString text(std::string_view line) {
  return QString::fromUtf8(line.data(), static_cast<qsizetype>(line.size()));
}

/// A standard stream whose reader may be slow: a line is written whole and at once, or dropped and
/// counted. Any thread.
class Lines {
 public:
  explicit Lines(int fd) : fd_(fd) {}

  void write(std::string_view line) {
    const std::scoped_lock lock(mutex_);
    pollfd stream{.fd = fd_, .events = POLLOUT, .revents = 0};
    if (::poll(&stream, 1, 0) != 1) {
      ++dropped_;
      return;
    }
    std::string bytes;
    if (dropped_ > 0) {
      bytes = "(" + std::to_string(std::exchange(dropped_, 0)) + " lines were not read and lost)\n";
    }
    bytes += line.substr(0, kRoom - bytes.size() - 1);
    bytes += '\n';
    // A closed reader is ignored.
    [[maybe_unused]] const auto written = ::write(fd_, bytes.data(), bytes.size());
  }

 private:
  static constexpr std::size_t kRoom = PIPE_BUF;  ///< guaranteed when a pipe polls writable

  const int fd_;
  std::mutex mutex_;
  std::size_t dropped_ = 0;
};

// Never destroyed: threads may write until the very end.
Lines& standardOutput() {
  static auto* const lines = new Lines(STDOUT_FILENO);
  return *lines;
}
Lines& standardError() {
  static auto* const lines = new Lines(STDERR_FILENO);
  return *lines;
}

void receive(QtMsgType type, const QMessageLogContext& context, const QString& message) {
  const auto line = ::qFormatLogMessage(type, context, message).toUtf8();
  standardError().write({line.data(), static_cast<std::size_t>(line.size())});
}

}  // namespace

void neverWait() {
  ::qInstallMessageHandler(receive);
}

void setVerbose() {
  QLoggingCategory::setFilterRules(QStringLiteral("quorin.*.debug=true"));
}

void print(std::string_view line) {
  const QLoggingCategory capture("quorin.capture", QtInfoMsg);
  if (::isatty(STDOUT_FILENO) == 1 && !capture.isDebugEnabled()) return;
  standardOutput().write(line);
}

void note(std::string_view area, std::string_view line) {
  const auto name = categoryOf(area);
  const QLoggingCategory where(name.c_str(), QtInfoMsg);
  qCInfo(where).noquote() << text(line);
}

void detail(std::string_view area, std::string_view line) {
  const auto name = categoryOf(area);
  const QLoggingCategory where(name.c_str(), QtInfoMsg);
  qCDebug(where).noquote() << text(line);
}

void noteInFile(std::string_view area, std::string_view line) {
  ::isatty(STDERR_FILENO) == 1 ? detail(area, line) : note(area, line);
}

}  // namespace quorin::log
