#pragma once

#include "wire/endpoint.h"

#include <chrono>
#include <expected>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace quorin::listen {

/// What the command line asked for.
struct Options {
  enum class Task { kListen, kHelp, kVersion };

  Task task = Task::kListen;
  wire::Endpoint server;
  bool cable = false;  ///< play the phone at the end of the cable, instead of joining `server`
  std::optional<std::uint16_t> port;  ///< where that phone listens; else where the app does
  std::optional<std::chrono::milliseconds> duration;  ///< from joining; else until a signal
  std::optional<std::string> wav;
  std::optional<std::string> arrivals;
  std::optional<std::string> sink;  ///< nothing: the default one
  bool play = false;
  bool json = false;
};

/// The arguments without the program's name. The error is one sentence for the user.
std::expected<Options, std::string> parseOptions(std::span<const std::string_view> all);

std::string_view usage();

}  // namespace quorin::listen
