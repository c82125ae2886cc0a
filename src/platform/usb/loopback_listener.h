#pragma once

#include <cstdint>

namespace quorin::usb {

/// True if something listens on this TCP port of 127.0.0.1 and every such listener belongs to this
/// user or root. Takes some milliseconds; false if the system's table cannot be read.
bool loopbackListenerIsTrusted(std::uint16_t port);

}  // namespace quorin::usb
