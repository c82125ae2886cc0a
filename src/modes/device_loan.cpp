#include "modes/device_loan.h"

#include "core/log.h"

#include <QCoreApplication>
#include <QProcess>
#include <QStandardPaths>
#include <QStringList>
#include <utility>

namespace quorin::app {
namespace {

constexpr auto kLogArea = "device";
constexpr int kGiveBackMs = 2000;

/// In this program's folder, else in PATH.
QString helperProgram() {
  const auto name = QStringLiteral("quorin-device");
  const auto here = QStandardPaths::findExecutable(name, {QCoreApplication::applicationDirPath()});
  return here.isEmpty() ? QStandardPaths::findExecutable(name) : here;
}

/// `cause` is the helper's word.
TrKey failureText(const QString& cause) {
  if (cause == "server") return "audio.guard.setup.no_server";
  if (cause == "refused") return "audio.guard.setup.refused";
  return "audio.guard.setup.failed";
}

}  // namespace

DeviceLoan::DeviceLoan() = default;

DeviceLoan::~DeviceLoan() {
  reports_ = {};
  endHelper();
}

void DeviceLoan::lend() {
  if (helper_ && isLending_) {
    hasAnswered_ = false;
    return command("lend");
  }
  if (helper_) {  // a watching helper ends by itself at the end of its input
    helper_->disconnect();
    QObject::connect(helper_.get(), &QProcess::finished, helper_.get(), &QObject::deleteLater);
    helper_.release()->closeWriteChannel();
  }
  isLending_ = true;
  startHelper("lend");
}

void DeviceLoan::watch() {
  if (helper_) return;
  isLending_ = false;
  startHelper("watch");
}

void DeviceLoan::startHelper(const char* verb) {
  const QString program = helperProgram();
  if (program.isEmpty()) return fail("audio.guard.setup.missing");
  hasAnswered_ = false;
  helper_ = std::make_unique<QProcess>();
  helper_->setProcessChannelMode(QProcess::ForwardedErrorChannel);
  QObject::connect(helper_.get(), &QProcess::readyReadStandardOutput, helper_.get(), [this] {
    while (helper_ && helper_->canReadLine()) {
      take(QString::fromUtf8(helper_->readLine()).trimmed());
    }
  });
  // Queued: `onEnded` destroys the process, which must not happen inside its own signal.
  QObject::connect(
      helper_.get(), &QProcess::finished, helper_.get(), [this] { onEnded(); },
      Qt::QueuedConnection);
  QObject::connect(
      helper_.get(), &QProcess::errorOccurred, helper_.get(),
      [this](QProcess::ProcessError error) {
        if (error != QProcess::FailedToStart) return;
        helper_.reset();
        fail("audio.guard.setup.missing");
      },
      Qt::QueuedConnection);
  helper_->start(program, {QString::fromLatin1(verb)});
}

void DeviceLoan::endHelper() {
  if (!helper_) return;
  helper_->disconnect();
  helper_->closeWriteChannel();
  // A helper blocked by an unresponsive server is leaked on purpose: destroying the QProcess would
  // kill it.
  if (!helper_->waitForFinished(kGiveBackMs)) (void)helper_.release();
  helper_.reset();
}

void DeviceLoan::command(const char* line) {
  if (helper_) helper_->write(QByteArray(line) + '\n');
}

void DeviceLoan::take(const QString& line) {
  log::detail(kLogArea, line.toStdString());
  const auto fields = line.split('\t');
  const auto& word = fields.first();
  hasAnswered_ |= word == "ready" || word == "failed";
  if (word == "ready") {
    isLent_ = true;
    if (reports_.lent) reports_.lent();
  } else if (word == "failed") {
    isLent_ = false;
    fail(failureText(fields.value(1)));
  } else if (word == "playing-here on" || word == "playing-here off") {
    playsHere_ = word.endsWith("on");
  } else if (word == "clear" || word == "muted" || word == "elsewhere") {
    elsewhere_ = {.muted = word == "muted", .program = fields.value(1), .device = fields.value(2)};
  }
  if (reports_.changed) reports_.changed();
}

void DeviceLoan::onEnded() {
  const bool wasKilled = helper_->exitStatus() == QProcess::CrashExit;
  helper_.reset();
  const bool wasLent = std::exchange(isLent_, false);
  playsHere_ = false;
  elsewhere_ = {};
  if (wasLent) log::note(kLogArea, "quorin-device has ended");
  if (!hasAnswered_) {
    fail(failureText({}));
  } else if (wasLent && wasKilled) {
    lend();  // the new helper takes the device over and later returns it
  }
  if (reports_.changed) reports_.changed();
}

void DeviceLoan::fail(TrKey why) {
  if (isLending_ && reports_.failed) reports_.failed(why);
}

}  // namespace quorin::app
