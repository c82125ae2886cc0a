#include "platform/version/version.h"

#include "platform/version/version_text.h"

namespace quorin {

std::string_view version() {
  return QUORIN_VERSION_TEXT;
}

}  // namespace quorin
