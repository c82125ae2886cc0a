#pragma once

#include "quorin-device/pulse_client.h"

#include <string>
#include <string_view>
#include <vector>

/// What the virtual device is, and what follows from what the server has. Pure.
namespace quorin::device {

inline constexpr std::string_view kSinkName = "quorin_audio";

/// The null sink behind the device. One that is lent names the process that removes it again;
/// `lender` 0 is a device that stays.
Module sinkModule(int lender = 0);

/// The source beside it: settings dialogs do not list a sink's monitor as an input.
Module sourceModule();

/// The copy of the device's sound to `sink`. Neither end follows a default: it ends with its sink
/// and never plays into the device itself.
Module loopbackModule(const Endpoint& device, const Endpoint& sink);

/// Whether this program loaded `module`, whichever user ran it.
bool isOurs(const Module& module);

/// The process that has lent the device; 0 when it is not lent.
int lenderOf(const Snapshot& snapshot);

/// The device as streams and settings see it: the default one if its name is right, else this
/// program's own, else another one of that name. Null where there is none. Points into the
/// snapshot.
struct DevicePair {
  const Endpoint* sink = nullptr;
  const Endpoint* source = nullptr;

  bool isWhole() const { return sink != nullptr && source != nullptr; }
};
DevicePair findDevice(const Snapshot& snapshot);

const Endpoint* find(const std::vector<Endpoint>& endpoints, std::string_view name);
const Endpoint* find(const std::vector<Endpoint>& endpoints, std::uint32_t index);

/// What was default before the virtual device, by the server's names; empty where nothing is to be
/// restored.
struct Defaults {
  std::string output;
  std::string input;

  bool operator==(const Defaults&) const = default;
};

/// Whether the default output or input is the virtual device, or one of its name.
struct Holds {
  bool output = false;
  bool input = false;

  bool operator==(const Holds&) const = default;
};
inline constexpr Holds kBoth{.output = true, .input = true};
Holds holdsDefaults(const Snapshot& snapshot);

/// Which defaults a loan still has, `before` being known from before: not one for which the user
/// chose another device while this one was there. A server that is just going, and shows neither,
/// changes nothing.
Holds stillHeld(const Snapshot& snapshot, const Holds& before);

/// What to remember when the defaults are about to change, `remembered` being known from before: a
/// default that is the virtual device already was not chosen, what it replaced was.
Defaults toRemember(const Snapshot& snapshot, const Defaults& remembered);

/// Why no sound arrives although a program may play: one line, for programs to read.
///
///     clear                          nothing to report
///     muted                          the device is muted
///     elsewhere TAB PROGRAM TAB DEVICE  PROGRAM plays on DEVICE instead
std::string soundLine(const Snapshot& snapshot);

// The programs that play; a loopback is none.

/// On `sink`; none where that is null.
std::vector<Playback> programsOn(const Snapshot& snapshot, const Endpoint* sink);
/// Not on the device yet.
std::vector<Playback> playingElsewhere(const Snapshot& snapshot);

}  // namespace quorin::device
