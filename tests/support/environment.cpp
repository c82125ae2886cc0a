#include <cstdlib>

namespace {

/// What every test runs with, however it is started: widgets without a display, English words.
[[maybe_unused]] const bool kIsSet =
    ::setenv("QT_QPA_PLATFORM", "offscreen", 1) == 0 && ::setenv("LC_ALL", "C.UTF-8", 1) == 0;

}  // namespace
