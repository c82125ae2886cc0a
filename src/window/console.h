#pragma once

#include <QString>
#include <QTextCharFormat>
#include <QTextEdit>
#include <QVariantAnimation>
#include <QWidget>
#include <deque>

namespace quorin::app {

class TextField;

/// The console's text in its scroll view: the last `kMaxLines` lines. What is appended waits as
/// plain lines until the view is first shown: a text document loads fonts, which a console that
/// nobody sees can do without.
class ConsoleView : public QWidget {
  Q_OBJECT
 public:
  struct Line {
    QString text;
    QTextCharFormat attributes;
  };

  static constexpr int kMaxLines = 200;

  explicit ConsoleView(QWidget* parent);

  /// A line of its own at the end, and scrolls there.
  void append(Line line);

  /// What has been appended, one line beneath the other.
  QString text() const;

 protected:
  void showEvent(QShowEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;

 private:
  void insert(const Line& line);
  void scrollToEnd();

  std::deque<Line> waiting_;  ///< while there is no document
  QTextEdit* document_ = nullptr;
  QVariantAnimation scrolling_;
};

/// The message console: what happened, one line after the other. Main thread.
class Console {
 public:
  /// Sets the input's font. Both outlive this; either may be null.
  Console(ConsoleView* output, TextField* input);

  /// Logs ">> text", on one line, and appends it to the view.
  void presentMessage(const QString& text, bool isStatus);

 private:
  ConsoleView* output_;
  QTextCharFormat consoleTextAttributes_;
  QTextCharFormat consoleStatusTextAttributes_;
};

}  // namespace quorin::app
