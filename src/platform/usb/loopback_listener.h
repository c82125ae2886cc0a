#pragma once

#include <cstdint>

namespace quorin::usb {

/// Whether all that listens on this TCP port of 127.0.0.1 belongs to this user or to root, and
/// something does. Takes some milliseconds; false if the system does not report listeners.
bool loopbackListenerIsTrusted(std::uint16_t port);

}  // namespace quorin::usb
