#pragma once

#include "ui/controls.h"

namespace quorin::app {

/// A code to scan; also a button that copies its content, which is the tool tip too.
class CodeView : public PaintedButton {
  Q_OBJECT
 public:
  explicit CodeView(QWidget* parent);

  void showCode(pictures::PicturePtr picture, const QString& content);
  const QString& content() const { return content_; }

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  pictures::PicturePtr picture_;
  QString content_;
};

}  // namespace quorin::app
