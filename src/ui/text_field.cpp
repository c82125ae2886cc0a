#include "ui/text_field.h"

namespace quorin::app {

TextField::TextField(const QString& placeholder, const QString& text, QWidget* parent)
    : QWidget(parent), placeholder_(placeholder), text_(text) {
  setAccessibleName(placeholder);
}

void TextField::setText(const QString& text) {
  if (editor_) {
    editor_->setText(text);
  } else {
    text_ = text;
  }
}

void TextField::showEvent(QShowEvent* event) {
  if (!editor_) {
    editor_ = new QLineEdit(text_, this);
    editor_->setPlaceholderText(placeholder_);
    editor_->setAccessibleName(placeholder_);
    editor_->resize(size());
    connect(editor_, &QLineEdit::returnPressed, this, &TextField::returnPressed);
    setFocusProxy(editor_);
    editor_->show();
  }
  QWidget::showEvent(event);
}

void TextField::resizeEvent(QResizeEvent*) {
  if (editor_) editor_->resize(size());
}

}  // namespace quorin::app
