#include "bench/first_frame.h"

#include <QByteArray>
#include <QElapsedTimer>
#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <optional>

namespace quorin::bench {
namespace {

constexpr int kPatienceMs = 20'000;

std::optional<float> firstFrame(const QString& program) {
  QProcess process;
  auto environment = QProcessEnvironment::systemEnvironment();
  // Qt logs when a window's picture goes to the screen.
  environment.insert("QT_LOGGING_RULES", "qt.widgets.painting=true");
  process.setProcessEnvironment(environment);
  process.setStandardOutputFile(QProcess::nullDevice());
  process.setReadChannel(QProcess::StandardError);

  std::optional<float> taken;
  QByteArray said;
  QElapsedTimer timer;
  timer.start();
  process.start(program, QStringList());
  while (!taken && process.waitForReadyRead(kPatienceMs)) {
    const auto now = timer.nsecsElapsed();
    said += process.readAllStandardError();
    if (said.contains("Flushing")) taken = static_cast<float>(now) / 1e6F;
  }
  process.terminate();
  if (!process.waitForFinished(kPatienceMs)) process.kill();
  process.waitForFinished();
  return taken;
}

}  // namespace

std::expected<std::vector<std::vector<float>>, std::string> firstFrameMs(
    const std::vector<std::string>& programs, int tries) {
  std::vector<std::vector<float>> times(programs.size());
  for (int i = 0; i < tries; ++i) {
    for (std::size_t k = 0; k < programs.size(); ++k) {
      const auto time = firstFrame(QString::fromStdString(programs[k]));
      if (!time) return std::unexpected(programs[k] + " showed nothing");
      times[k].push_back(*time);
    }
  }
  return times;
}

}  // namespace quorin::bench
