#pragma once

#include <QString>
#include <QtGlobal>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace quorin::test {

/// Collects the lines of the program's own log (`log::note`) while it lives; one at a time.
class LogCapture {
 public:
  LogCapture() { qInstallMessageHandler(collect); }
  ~LogCapture() {
    qInstallMessageHandler(nullptr);
    take();
  }

  /// The lines since the last call.
  static std::vector<std::string> take() {
    const std::scoped_lock lock(mutex_);
    return std::exchange(lines_, {});
  }

 private:
  static void collect(QtMsgType, const QMessageLogContext&, const QString& line) {
    const std::scoped_lock lock(mutex_);
    lines_.push_back(line.toStdString());
  }

  inline static std::mutex mutex_;
  inline static std::vector<std::string> lines_;
};

}  // namespace quorin::test
