#pragma once

#include "ui/picture.h"

#include <QString>

namespace quorin::app {

/// How much of a damaged or covered code a reader can restore.
enum class Correction { kL, kM };  ///< about 7 and 15 percent

/// The QR code of `text` in ISO 8859-1: white modules on nothing, in a square of `size` points
/// that includes the quiet zone. None for a text that is empty, has a character beyond ISO 8859-1
/// or is too long for any code.
///
/// Every module covers the same whole number of the display's pixels, so its edges are sharp at
/// every display factor; what that leaves over is shared between the sides.
pictures::PicturePtr generateQRCodeFromString(const QString& text, double size,
                                              Correction correction = Correction::kM);

}  // namespace quorin::app
