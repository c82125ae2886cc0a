#pragma once

#include "app/diagnosis.h"

namespace quorin::app {

/// Asks this machine. Needs a QCoreApplication, whose events it lets run meanwhile; takes at most
/// some seconds.
Facts findFacts(std::uint16_t port);

}  // namespace quorin::app
