#pragma once

#include "ui/controls.h"

namespace quorin::app {

/// A code to scan, that can also be read: its content stands in the tool tip and in the accessible
/// name, and a click or the keyboard copies it to the clipboard.
class CodeView : public ImageView {
  Q_OBJECT
 public:
  explicit CodeView(QWidget* parent);

  void showCode(pictures::PicturePtr picture, const QString& content);
  const QString& content() const { return content_; }

 signals:
  void copied();

 protected:
  void mouseReleaseEvent(QMouseEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void focusInEvent(QFocusEvent* event) override;
  void paintEvent(QPaintEvent* event) override;

 private:
  void copy();

  QString content_;
  FocusVisibility focus_;
};

}  // namespace quorin::app
