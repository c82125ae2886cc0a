#include "window/console.h"

#include "core/log.h"
#include "ui/appearance.h"

#include <QScrollBar>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextFrame>
#include <algorithm>

namespace quorin::app {
namespace {

QFont consoleFont(const QString& family, int pixels) {
  QFont font(family);
  font.setPixelSize(pixels);
  return font;
}

QTextCharFormat attributes(const QFont& font, const QColor& color) {
  QTextCharFormat format;
  format.setFont(font);
  format.setForeground(color);
  return format;
}

}  // namespace

Console::Console(QTextEdit& output, QLineEdit& input)
    : output_(output),
      consoleTextAttributes_(attributes(consoleFont("helvetica", 16), colors::kLightGrey)),
      consoleStatusTextAttributes_(attributes(consoleFont("menlo", 11), colors::kDarkGrey)),
      scrolling_(output.verticalScrollBar(), "value") {
  input.setFont(consoleFont("helvetica", 14));
  output_.setReadOnly(true);
  output_.document()->setMaximumBlockCount(200);
  QTextFrameFormat inset = output_.document()->rootFrame()->frameFormat();
  inset.setLeftMargin(15);
  inset.setRightMargin(15);
  inset.setTopMargin(10);
  inset.setBottomMargin(10);
  output_.document()->rootFrame()->setFrameFormat(inset);
  scrolling_.setDuration(150);
  scrolling_.setEasingCurve(QEasingCurve::InOutQuad);
}

void Console::presentMessage(const QString& text, bool isStatus) {
  QString line = QStringLiteral(">> ") + text;
  log::note("console", line.replace(u'\n', u' ').toStdString());
  QTextCursor end(output_.document());
  end.movePosition(QTextCursor::End);
  if (!output_.document()->isEmpty()) end.insertBlock();
  // Each line is a block to lay out, and a peer's text may have thousands.
  constexpr int kMaxLines = 20;
  end.insertText(text.section(u'\n', 0, kMaxLines - 1),
                 isStatus ? consoleStatusTextAttributes_ : consoleTextAttributes_);

  QScrollBar& bar = *output_.verticalScrollBar();
  bar.setValue(bar.value() + 5);
  scrolling_.stop();
  scrolling_.setEndValue(std::min(bar.value() + 1000, bar.maximum()));
  scrolling_.start();
}

}  // namespace quorin::app
