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
    const std::scoped_lock lock(mutex);
    return std::exchange(lines, {});
  }

 private:
  static void collect(QtMsgType, const QMessageLogContext&, const QString& line) {
    const std::scoped_lock lock(mutex);
    lines.push_back(line.toStdString());
  }

  inline static std::mutex mutex;
  inline static std::vector<std::string> lines;
};

}  // namespace quorin::test
