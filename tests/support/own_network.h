#pragma once

#include <string>

namespace quorin::test {

/// Moves this process into a network of its own, with nothing but 127.0.0.1, so that fixed ports
/// are free whatever else runs on the machine. Before any thread is started. False where the
/// system does not allow it.
bool enterOwnNetwork();

/// `ip ARGUMENTS`, in words; throws when that fails.
void ip(const std::string& arguments);

}  // namespace quorin::test
