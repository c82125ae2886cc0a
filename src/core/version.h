#pragma once

#include <string_view>

namespace quorin {

/// What `--version` prints after the program's name: the release and the commit it was built from,
/// such as "1.0.0 (18c74eb)". Built without git it reads "1.0.0 (unknown)". Callable from any
/// thread; the text lives as long as the program.
std::string_view version();

}  // namespace quorin
