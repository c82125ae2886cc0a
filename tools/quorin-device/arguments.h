#pragma once

#include <cstdint>
#include <expected>
#include <span>
#include <string>
#include <string_view>

namespace quorin::device {

enum class Verb : std::uint8_t { kAdd, kRemove, kLend, kWatch, kStatus, kHelp, kVersion };

struct Arguments {
  Verb verb = Verb::kHelp;
  bool persist = false;      ///< add: at every login
  bool makeDefault = false;  ///< add: as the default output and input

  bool operator==(const Arguments&) const = default;
};

/// `words` are the command line without the program's name. An error is a sentence.
std::expected<Arguments, std::string> parseArguments(std::span<const std::string_view> words);

std::string_view usage();

}  // namespace quorin::device
