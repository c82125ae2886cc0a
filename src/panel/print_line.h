#pragma once

#include <functional>
#include <string_view>

namespace quorin::panel {

/// Writes one line to the developer's console; any thread.
using PrintLine = std::function<void(std::string_view)>;

}  // namespace quorin::panel
