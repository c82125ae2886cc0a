#pragma once

#include <optional>
#include <string_view>
#include <vector>

/// QR codes as plain module matrices; drawing them is the caller's business.
namespace quorin::qr {

/// How much of a damaged or covered picture a reader can restore.
enum class Correction { kL, kM };  ///< about 7 and 15 percent

/// A reader needs this many light modules around the code.
inline constexpr int kQuietZoneModules = 4;

/// A square of `size()` x `size()` modules, without the quiet zone.
class QrMatrix {
 public:
  /// `dark` holds the modules row by row, from the top left.
  QrMatrix(int size, std::vector<bool> dark);

  int size() const { return size_; }
  bool isDark(int x, int y) const;  ///< x to the right, y downwards, both 0 to size() - 1

  friend bool operator==(const QrMatrix&, const QrMatrix&) = default;

 private:
  int size_;
  std::vector<bool> dark_;
};

/// The smallest code that holds exactly `bytes`. None for the empty text, for one too long for
/// any code (about 2953 bytes at L, 2331 at M) and when memory runs out. Any thread.
std::optional<QrMatrix> encode(std::string_view bytes, Correction correction);

}  // namespace quorin::qr
