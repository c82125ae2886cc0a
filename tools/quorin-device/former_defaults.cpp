#include "quorin-device/former_defaults.h"

#include <fstream>

namespace quorin::device {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view kOutput = "output=";
constexpr std::string_view kInput = "input=";

}  // namespace

Defaults readDefaults(const fs::path& file) {
  Defaults defaults;
  std::ifstream lines(file);
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with(kOutput)) defaults.output = line.substr(kOutput.size());
    if (line.starts_with(kInput)) defaults.input = line.substr(kInput.size());
  }
  return defaults;
}

std::expected<void, Error> writeDefaults(const fs::path& file, const Defaults& defaults) {
  std::error_code ignored;
  fs::create_directories(file.parent_path(), ignored);
  std::ofstream lines(file, std::ios::trunc);
  lines << kOutput << defaults.output << '\n' << kInput << defaults.input << '\n';
  lines.close();
  if (lines) return {};
  return std::unexpected(Error{"The present default devices cannot be remembered in " +
                               file.string() +
                               ". Look at its permissions, or leave --default out."});
}

void forgetDefaults(const fs::path& file) {
  std::error_code ignored;
  fs::remove(file, ignored);
  fs::remove(file.parent_path(), ignored);  // ours; stays while there is something else in it
}

}  // namespace quorin::device
