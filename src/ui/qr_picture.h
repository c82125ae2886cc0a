#pragma once

#include "ui/picture.h"

#include <QString>

namespace quorin::app {

/// The QR code of `text` in ISO 8859-1, correction level M: white modules on nothing, in a square
/// of `size` points that includes the quiet zone. None for a text that is empty, has a character
/// beyond ISO 8859-1 or is too long for any code.
pictures::PicturePtr generateQRCodeFromString(const QString& text, double size);

}  // namespace quorin::app
