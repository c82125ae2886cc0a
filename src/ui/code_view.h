#pragma once

#include "ui/controls.h"

namespace quorin::app {

/// A code to scan, and a button that copies what it says. That is also the tool tip.
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
