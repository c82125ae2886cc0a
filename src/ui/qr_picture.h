#pragma once

#include "platform/qr/qr_code.h"
#include "ui/picture.h"

#include <QString>

namespace quorin::app {

/// The QR code of `text` in ISO 8859-1: white modules on nothing, in a square
/// of `size` points that includes the quiet zone. None for a text that is empty, has a character
/// beyond ISO 8859-1 or is too long for any code.
pictures::PicturePtr generateQRCodeFromString(const QString& text, double size,
                                              qr::Correction correction = qr::Correction::kM);

}  // namespace quorin::app
