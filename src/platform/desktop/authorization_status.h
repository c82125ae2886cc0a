#pragma once

#include <cstdint>

namespace quorin::desktop {

/// Whether this program may use the microphone. Only kAuthorized permits it.
enum class AuthorizationStatus : std::uint8_t {
  kNotDetermined = 0,  ///< the answer is pending
  kRestricted = 1,     ///< the desktop forbids it to every program
  kDenied = 2,         ///< refused to this program
  kAuthorized = 3,
};

}  // namespace quorin::desktop
