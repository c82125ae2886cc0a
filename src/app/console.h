#pragma once

#include <QObject>
#include <QTextCharFormat>
#include <QTextEdit>
#include <QVariantAnimation>

class QLineEdit;

namespace quorin::app {

/// The message console: what happened, one line after the other. It only grows. Main thread.
class Console {
 public:
  /// Sets both views up. They outlive this; either may be null.
  Console(QTextEdit* output, QLineEdit* input);

  /// Logs ">> text" and appends it as a line of its own, then scrolls to the end.
  void presentMessage(const QString& text, bool isStatus);

 private:
  void scrollToEnd();

  QTextEdit* output_;
  QTextCharFormat consoleTextAttributes_;
  QTextCharFormat consoleStatusTextAttributes_;
  QVariantAnimation scrolling_;
};

}  // namespace quorin::app
