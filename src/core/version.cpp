#include "core/version.h"

#include "version_text.h"

namespace quorin {

std::string_view version() {
  return QUORIN_VERSION_TEXT;
}

}  // namespace quorin
