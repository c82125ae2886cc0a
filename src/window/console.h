#pragma once

#include <QLineEdit>
#include <QString>
#include <QTextCharFormat>
#include <QTextEdit>
#include <QVariantAnimation>

namespace quorin::app {

/// The message console: what happened, one line after the other, the last 200 of them. Main thread.
class Console {
 public:
  /// Sets fonts and margins. Both outlive this.
  Console(QTextEdit& output, QLineEdit& input);

  /// Logs ">> text", on one line, and appends it to the view.
  void presentMessage(const QString& text, bool isStatus);

 private:
  void scrollToEnd();

  QTextEdit& output_;
  QTextCharFormat consoleTextAttributes_;
  QTextCharFormat consoleStatusTextAttributes_;
  QVariantAnimation scrolling_;
};

}  // namespace quorin::app
