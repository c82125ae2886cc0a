#pragma once

#include "wire/endpoint.h"

#include <QStringList>
#include <chrono>
#include <cstdint>
#include <expected>
#include <optional>
#include <string>

namespace quorin::listen {

/// What the command line asked for.
struct Options {
  std::string answer;  ///< help or version, to be printed instead of listening
  wire::Endpoint server;
  bool cable = false;      ///< play the phone at the end of the cable, instead of joining `server`
  std::uint16_t port = 0;  ///< where that phone listens
  std::optional<std::chrono::milliseconds> duration;  ///< from joining; else until a signal
  std::optional<std::string> wav;
  std::optional<std::string> arrivals;
  bool json = false;
};

/// The arguments with the program's name. The error is one sentence for the user.
std::expected<Options, std::string> parseOptions(const QStringList& arguments);

}  // namespace quorin::listen
