#pragma once

#include "support/qr_reader.h"

#include <QImage>
#include <QPixmap>
#include <QWidget>

namespace quorin::test {

/// What a phone reads that photographs the widget, whose codes are white on a dark ground.
inline std::vector<std::string> codesOn(QWidget& widget) {
  QImage picture = widget.grab().toImage();
  picture.invertPixels();
  const QImage grey = picture.convertToFormat(QImage::Format_Grayscale8);
  std::vector<std::uint8_t> pixels;
  for (int y = 0; y < grey.height(); ++y) {
    pixels.insert(pixels.end(), grey.constScanLine(y), grey.constScanLine(y) + grey.width());
  }
  return readQrCodes(
      {static_cast<unsigned>(grey.width()), static_cast<unsigned>(grey.height()), pixels});
}

}  // namespace quorin::test
