#pragma once

#include <QLineEdit>
#include <QPropertyAnimation>
#include <QString>
#include <QTextCharFormat>
#include <QTextEdit>

namespace quorin::app {

/// The message console: what happened, one line after the other, the last 200 of them. Main thread.
class Console {
 public:
  /// Sets fonts and margins. Both outlive this.
  Console(QTextEdit& output, QLineEdit& input);

  /// Logs ">> text", on one line, appends it to the view and scrolls there.
  void presentMessage(const QString& text, bool isStatus);

 private:
  QTextEdit& output_;
  QTextCharFormat consoleTextAttributes_;
  QTextCharFormat consoleStatusTextAttributes_;
  QPropertyAnimation scrolling_;
};

}  // namespace quorin::app
