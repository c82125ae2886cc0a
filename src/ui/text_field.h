#pragma once

#include <QLineEdit>
#include <QWidget>

namespace quorin::app {

/// A line of text to edit. The editor itself is made when the field is first shown: making one
/// loads the system's fonts, and a field that only holds a text needs none.
class TextField : public QWidget {
  Q_OBJECT
 public:
  TextField(const QString& placeholder, const QString& text, QWidget* parent);

  QString text() const { return editor_ ? editor_->text() : text_; }
  void setText(const QString& text);
  void clear() { setText({}); }
  const QString& placeholderText() const { return placeholder_; }

 signals:
  void returnPressed();

 protected:
  void showEvent(QShowEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;

 private:
  QString placeholder_;
  QString text_;  ///< while there is no editor
  QLineEdit* editor_ = nullptr;
};

}  // namespace quorin::app
