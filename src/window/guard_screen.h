#pragma once

#include "modes/guard_flow.h"
#include "ui/texts.h"
#include "window/views.h"

namespace quorin::app {

/// Writes the guard's text and its two status lines; the caller lays out.
void showGuardTexts(const GuardState& state, const Texts& texts, const Views& views);

}  // namespace quorin::app
