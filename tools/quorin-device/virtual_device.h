#pragma once

#include "quorin-device/arguments.h"
#include "quorin-device/former_defaults.h"
#include "quorin-device/login_file.h"
#include "quorin-device/pulse_client.h"

#include <expected>
#include <filesystem>
#include <functional>
#include <string>

namespace quorin::device {

/// Where this person's files are.
struct Places {
  ConfigFolders config;
  std::filesystem::path formerDefaults;
};

/// The device "Quorin Audio" at one audio server. What is done is told line by line to `say`.
class VirtualDevice {
 public:
  using Say = std::function<void(const std::string& line)>;

  VirtualDevice(PulseClient client, Places places, Say say);

  std::expected<void, Error> add(const Arguments& arguments);
  /// From the server; `unpersist` is another matter.
  std::expected<void, Error> remove();
  /// Whether the device check of quorin-stream would pass.
  std::expected<bool, Error> status();

 private:
  std::expected<bool, Error> exists();
  std::expected<Defaults, Error> currentDefaults();
  std::expected<void, Error> create();
  std::expected<void, Error> makeDefault();
  std::expected<bool, Error> unload();
  void restore(const Defaults& former, const Defaults& before);

  PulseClient client_;
  const Places places_;
  const Say say_;
};

}  // namespace quorin::device
