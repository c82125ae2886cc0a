#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace quorin::test {

struct GrayImage {
  unsigned width = 0;
  unsigned height = 0;
  std::span<const std::uint8_t> pixels;  ///< row by row, width x height, 0 is black
};

/// What ZBar reads in the picture. It knows dark codes on a light ground only: negate a picture
/// of white modules first.
std::vector<std::string> readQrCodes(const GrayImage& image);

}  // namespace quorin::test
