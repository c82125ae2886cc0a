#include "usb/line_limit.h"

#include <utility>

namespace quorin::usb {

bool LineLimit::admits() {
  if (++lines_ == 1) {
    main_.asyncAfter(std::chrono::seconds(1), scope_, [this] { endSecond(); });
  }
  return lines_ <= kLinesPerSecond;
}

void LineLimit::endSecond() {
  const auto lines = std::exchange(lines_, 0);
  if (lines > kLinesPerSecond) summary_(lines - kLinesPerSecond);
}

}  // namespace quorin::usb
