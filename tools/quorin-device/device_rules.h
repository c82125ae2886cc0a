#pragma once

#include "quorin-device/pulse_client.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// What the virtual device is, and what follows from what the server has. Pure.
namespace quorin::device {

inline constexpr std::string_view kSinkName = "quorin_audio";
inline constexpr std::string_view kSourceName = "quorin_audio_input";

/// A module and how it is loaded.
struct ModuleLine {
  std::string name;
  std::string argument;
};

/// The null sink behind the device. One that is lent names the process that removes it again;
/// `lender` 0 is a device that stays.
ModuleLine sinkModule(int lender = 0);

/// The source beside it: settings dialogs do not list a sink's monitor as an input.
ModuleLine sourceModule();

/// The copy of the device's sound to `sink`. Neither end follows a default: it ends with its sink
/// and never plays into the device itself.
ModuleLine loopbackModule(std::string_view source, std::string_view sink);

/// Whether this program loaded `module`, whoever ran it.
bool isOurs(const LoadedModule& module);

/// The process that the lent sink of `module` names; 0 when it is no such sink.
int lenderOf(const LoadedModule& module);

/// The device as streams and settings see it: this program's own, else another one of that name.
/// Null where there is none. Points into the snapshot.
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
};
Holds holdsDefaults(const Snapshot& snapshot);

/// What to remember when the defaults are about to change, `remembered` being known from before: a
/// default that is the virtual device already was not chosen, what it replaced was.
Defaults toRemember(const Snapshot& snapshot, const Defaults& remembered);

/// Why no sound arrives although a program may play: one line, for programs to read.
///
///     clear                          nothing to report
///     muted                          the device is muted
///     elsewhere TAB PROGRAM TAB DEVICE  nothing plays into the device, PROGRAM plays on DEVICE
std::string soundLine(const Snapshot& snapshot);

/// What plays, is not a loopback and is not on the device yet.
std::vector<Playback> playingElsewhere(const Snapshot& snapshot);

}  // namespace quorin::device
