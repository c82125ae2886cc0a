#pragma once

#include "platform/audio/format.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace quorin::audio {

/// One device as the audio server describes it. A sink's monitor is a source like any other.
struct Device {
  std::uint32_t number = 0;         ///< 0: there is none; else the server's index + 1, for as
                                    ///< long as the connection to that server lasts
  std::optional<std::string> name;  ///< its description; none where it cannot be read
  Format format;                    ///< the device's own
  std::string id{};                 ///< as the server names it

  bool operator==(const Device&) const = default;
};

struct DefaultDevices {
  Device output;         ///< the default sink
  Device input;          ///< the default source
  std::string server{};  ///< the audio server's own name and version; empty while there is none
  std::uint32_t connection = 0;  ///< counts the connections to a server; 0 while there is none
  std::vector<std::string> outputs{};  ///< the names of all sinks
  std::vector<std::string> inputs{};   ///< the names of all sources that are no monitors

  bool operator==(const DefaultDevices&) const = default;
};

}  // namespace quorin::audio
