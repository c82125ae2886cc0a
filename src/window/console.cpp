#include "window/console.h"

#include "core/log.h"
#include "ui/appearance.h"
#include "ui/text_field.h"

#include <QScrollBar>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextFrame>
#include <algorithm>
#include <utility>

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

const auto kTextFamily = QStringLiteral("helvetica");
const auto kStatusFamily = QStringLiteral("menlo");

}  // namespace

ConsoleView::ConsoleView(QWidget* parent) : QWidget(parent) {
  scrolling_.setDuration(150);
  scrolling_.setEasingCurve(QEasingCurve::InOutQuad);
  connect(&scrolling_, &QVariantAnimation::valueChanged, this, [this](const QVariant& value) {
    document_->verticalScrollBar()->setValue(value.toInt());
  });
}

void ConsoleView::append(Line line) {
  if (!document_) {
    waiting_.push_back(std::move(line));
    if (waiting_.size() > kMaxLines) waiting_.pop_front();
    return;
  }
  insert(line);
  scrollToEnd();
}

QString ConsoleView::text() const {
  if (document_) return document_->toPlainText();
  QStringList lines;
  for (const Line& line : waiting_) lines << line.text;
  return lines.join(u'\n');
}

void ConsoleView::insert(const Line& line) {
  QTextCursor end(document_->document());
  end.movePosition(QTextCursor::End);
  const bool isFirst = document_->document()->isEmpty();
  end.insertText(isFirst ? line.text : u'\n' + line.text, line.attributes);
}

void ConsoleView::scrollToEnd() {
  constexpr int kAtOnce = 5;
  constexpr int kFurther = 1000;
  QScrollBar& bar = *document_->verticalScrollBar();
  bar.setValue(bar.value() + kAtOnce);
  scrolling_.stop();
  scrolling_.setStartValue(bar.value());
  scrolling_.setEndValue(std::min(bar.value() + kFurther, bar.maximum()));
  scrolling_.start();
}

void ConsoleView::showEvent(QShowEvent* event) {
  if (!document_) {
    document_ = new QTextEdit(this);
    document_->setReadOnly(true);
    document_->document()->setMaximumBlockCount(kMaxLines);
    document_->resize(size());
    QTextFrameFormat inset = document_->document()->rootFrame()->frameFormat();
    inset.setLeftMargin(15);
    inset.setRightMargin(15);
    inset.setTopMargin(10);
    inset.setBottomMargin(10);
    document_->document()->rootFrame()->setFrameFormat(inset);
    for (const Line& line : std::exchange(waiting_, {})) insert(line);
    document_->show();
  }
  QWidget::showEvent(event);
}

void ConsoleView::resizeEvent(QResizeEvent*) {
  if (document_) document_->resize(size());
}

Console::Console(ConsoleView* output, TextField* input)
    : output_(output),
      consoleTextAttributes_(attributes(consoleFont(kTextFamily, 16), colors::kLightGrey)),
      consoleStatusTextAttributes_(attributes(consoleFont(kStatusFamily, 11), colors::kDarkGrey)) {
  if (input) input->setFont(consoleFont(kTextFamily, 14));
}

void Console::presentMessage(const QString& text, bool isStatus) {
  QString line = QStringLiteral(">> ") + text;
  log::note("console", line.replace(u'\n', u' ').toStdString());
  if (!output_) return;
  output_->append({text, isStatus ? consoleStatusTextAttributes_ : consoleTextAttributes_});
}

}  // namespace quorin::app
