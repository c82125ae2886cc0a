#include "support/qr_reader.h"

#include <zbar.h>

#include <memory>

namespace quorin::test {

std::vector<std::string> readQrCodes(const GrayImage& image) {
  const std::unique_ptr<zbar::zbar_image_scanner_t, decltype(&zbar::zbar_image_scanner_destroy)>
      scanner(zbar::zbar_image_scanner_create(), &zbar::zbar_image_scanner_destroy);
  zbar::zbar_image_scanner_set_config(scanner.get(), zbar::ZBAR_NONE, zbar::ZBAR_CFG_ENABLE, 0);
  zbar::zbar_image_scanner_set_config(scanner.get(), zbar::ZBAR_QRCODE, zbar::ZBAR_CFG_ENABLE, 1);

  const std::unique_ptr<zbar::zbar_image_t, decltype(&zbar::zbar_image_destroy)> picture(
      zbar::zbar_image_create(), &zbar::zbar_image_destroy);
  zbar::zbar_image_set_format(picture.get(), zbar_fourcc('Y', '8', '0', '0'));
  zbar::zbar_image_set_size(picture.get(), image.width, image.height);
  zbar::zbar_image_set_data(picture.get(), image.pixels.data(), image.pixels.size(), nullptr);

  std::vector<std::string> texts;
  if (zbar::zbar_scan_image(scanner.get(), picture.get()) < 0) return texts;
  for (const auto* symbol = zbar::zbar_image_first_symbol(picture.get()); symbol != nullptr;
       symbol = zbar::zbar_symbol_next(symbol)) {
    texts.emplace_back(zbar::zbar_symbol_get_data(symbol),
                       zbar::zbar_symbol_get_data_length(symbol));
  }
  return texts;
}

}  // namespace quorin::test
