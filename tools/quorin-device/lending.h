#pragma once

#include "quorin-device/virtual_device.h"

#include <cstdint>
#include <filesystem>

/// The commands that last as long as the parent process.
namespace quorin::device {

enum class Duty : std::uint8_t { kLend, kWatch };

/// Runs until standard input ends, or SIGTERM, SIGINT, SIGHUP or SIGQUIT comes; blocks these
/// signals.
///
/// `kLend` lends the device to the parent process: creates it where it is missing, makes it the
/// default and moves what plays to it; at the end it undoes that, but for what the user has changed
/// meanwhile. An audio server that restarts gets it again, and a default that the user had taken
/// back stays as it is. Both duties report where sound goes. Where the server is down or does not
/// answer at the end, giving back is tried for 30 s; another signal ends that.
///
/// Lines for programs go to standard output:
///
///     ready                    the device is default, and what played has moved
///     failed TAB CAUSE TAB TEXT   it cannot be lent: "server", "refused" or "other", and why
///     playing-here on | off    whether the loudspeakers play the device's sound as well
///     clear, muted, elsewhere  see `soundLine`
///
/// and come from standard input:
///
///     lend                     once more, after the user has changed a default
///     play-here on | off       the former default output plays as well
///     move                     what plays elsewhere goes to the device, which is unmuted
///
/// `lentDefaults` is a file; it remembers for a lender that is killed. True when it ended as
/// asked, false when there was no device to be had from the beginning, or nothing could be given
/// back.
bool serve(Duty duty, const std::filesystem::path& lentDefaults);

}  // namespace quorin::device
