#include "support/code_photo.h"

#include <zbar.h>

#include <QImage>
#include <QPixmap>
#include <cstdint>

namespace quorin::test {

std::vector<std::string> codesOn(QWidget& widget) {
  QImage picture = widget.grab().toImage();
  picture.invertPixels();  // ZBar knows dark codes on a light ground only
  const QImage grey = picture.convertToFormat(QImage::Format_Grayscale8);
  std::vector<std::uint8_t> pixels;
  for (int y = 0; y < grey.height(); ++y) {
    pixels.insert(pixels.end(), grey.constScanLine(y), grey.constScanLine(y) + grey.width());
  }
  zbar::Image image(static_cast<unsigned>(grey.width()), static_cast<unsigned>(grey.height()),
                    "Y800", pixels.data(), pixels.size());
  zbar::ImageScanner scanner;
  scanner.set_config(zbar::ZBAR_NONE, zbar::ZBAR_CFG_ENABLE, 0);
  scanner.set_config(zbar::ZBAR_QRCODE, zbar::ZBAR_CFG_ENABLE, 1);
  std::vector<std::string> texts;
  scanner.scan(image);
  for (auto symbol = image.symbol_begin(); symbol != image.symbol_end(); ++symbol) {
    texts.push_back(symbol->get_data());
  }
  return texts;
}

}  // namespace quorin::test
