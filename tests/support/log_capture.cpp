#include "support/log_capture.h"

#include <QString>
#include <QtGlobal>
#include <mutex>
#include <utility>

namespace quorin::test {
namespace {

std::mutex mutex;
std::vector<std::string> lines;
QtMessageHandler previous = nullptr;

void collect(QtMsgType, const QMessageLogContext&, const QString& line) {
  const std::scoped_lock lock(mutex);
  lines.push_back(line.toStdString());
}

}  // namespace

LogCapture::LogCapture() {
  take();
  previous = qInstallMessageHandler(collect);
}

LogCapture::~LogCapture() {
  qInstallMessageHandler(previous);
}

std::vector<std::string> LogCapture::take() {
  const std::scoped_lock lock(mutex);
  return std::exchange(lines, {});
}

}  // namespace quorin::test
