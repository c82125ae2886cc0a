#include "platform/qr/qr_code.h"

#include <qrencode.h>

#include <cassert>
#include <cstddef>
#include <limits>
#include <memory>
#include <utility>

namespace quorin::qr {

QrMatrix::QrMatrix(int size, std::vector<bool> dark) : size_(size), dark_(std::move(dark)) {
  assert(dark_.size() == static_cast<std::size_t>(size) * static_cast<std::size_t>(size));
}

bool QrMatrix::isDark(int x, int y) const {
  assert(x >= 0 && x < size_ && y >= 0 && y < size_);
  return dark_[static_cast<std::size_t>(y) * static_cast<std::size_t>(size_) +
               static_cast<std::size_t>(x)];
}

std::optional<QrMatrix> encode(std::string_view bytes, Correction correction) {
  if (bytes.empty() || bytes.size() > std::numeric_limits<int>::max()) return std::nullopt;

  constexpr int kSmallestThatFits = 0;
  const std::unique_ptr<QRcode, decltype(&QRcode_free)> code(
      QRcode_encodeData(static_cast<int>(bytes.size()),
                        reinterpret_cast<const unsigned char*>(bytes.data()), kSmallestThatFits,
                        correction == Correction::kL ? QR_ECLEVEL_L : QR_ECLEVEL_M),
      &QRcode_free);
  if (!code) return std::nullopt;

  // The lowest bit of a module's byte is its colour, the others say what it is part of.
  const std::size_t count =
      static_cast<std::size_t>(code->width) * static_cast<std::size_t>(code->width);
  std::vector<bool> dark(count);
  for (std::size_t i = 0; i < count; ++i) dark[i] = (code->data[i] & 1U) != 0;
  return QrMatrix(code->width, std::move(dark));
}

}  // namespace quorin::qr
