#pragma once

#include "ui/controls.h"

namespace quorin::app {

/// How much of a damaged or covered code a reader can restore.
enum class Correction { kL, kM };  ///< about 7 and 15 percent

/// The QR code of `text` in ISO 8859-1: white modules on nothing, in a square of `size` points
/// that includes the quiet zone. None for a text that is empty, has a character beyond ISO 8859-1
/// or is too long for any code.
///
/// Every module covers the same whole number of the display's pixels, so its edges are sharp at
/// every display factor; what that leaves over is shared between the sides.
PicturePtr generateQRCodeFromString(const QString& text, double size,
                                    Correction correction = Correction::kM);

/// A code to scan; also a button that copies its content, which is the tool tip too.
class CodeView : public PaintedButton {
  Q_OBJECT
 public:
  explicit CodeView(QWidget* parent);

  void showCode(PicturePtr picture, const QString& content);
  const QString& content() const { return content_; }
  bool hasCode() const { return picture_ != nullptr; }

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  PicturePtr picture_;
  QString content_;
};

}  // namespace quorin::app
