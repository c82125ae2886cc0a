#include "ui/qr_picture.h"

#include "platform/qr/qr_code.h"
#include "ui/module_picture.h"

#include <QStringEncoder>
#include <string_view>

namespace quorin::app {

pictures::PicturePtr generateQRCodeFromString(const QString& text, double size,
                                              qr::Correction correction) {
  QStringEncoder latin1(QStringEncoder::Latin1);
  const QByteArray bytes = latin1.encode(text);
  if (latin1.hasError()) return nullptr;

  const auto code = qr::encode(
      std::string_view(bytes.data(), static_cast<std::size_t>(bytes.size())), correction);
  if (!code) return nullptr;
  return pictures::makeModulePicture(
      {.size = code->size(),
       .quietZone = qr::kQuietZoneModules,
       .isFull = [code = *code](int x, int y) { return code.isDark(x, y); }},
      size, Qt::white);
}

}  // namespace quorin::app
