#pragma once

#include "audio/device_guard.h"
#include "platform/audio/devices.h"

#include <chrono>
#include <cstdint>
#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace quorin::device {

using Error = std::string;  ///< sentences: what happened, what to do next

struct ServerInfo {
  std::string name;         ///< "pulseaudio", "PulseAudio (on PipeWire 0.3.65)"
  std::string defaultSink;  ///< as the server calls it; may name what is not there
  std::string defaultSource;

  bool isPipeWire() const { return name.find("PipeWire") != std::string::npos; }
};

struct LoadedModule {
  std::uint32_t index = 0;
  std::string name;
  std::string argument;
};

/// A conversation with the audio server, one question after the other; each waits for its answer,
/// at most 5 s.
class PulseClient {
 public:
  /// PULSE_SERVER's, else the person's own.
  static std::expected<PulseClient, Error> connect();

  ~PulseClient();
  PulseClient(PulseClient&&) noexcept;
  PulseClient& operator=(PulseClient&&) = delete;

  std::expected<ServerInfo, Error> serverInfo();
  /// By name; number 0 when there is none.
  std::expected<audio::Device, Error> sink(const std::string& name);
  std::expected<audio::Device, Error> source(const std::string& name);
  std::expected<std::vector<LoadedModule>, Error> modules();

  std::expected<void, Error> loadModule(const std::string& name, const std::string& argument);
  std::expected<void, Error> unloadModule(std::uint32_t index);
  std::expected<void, Error> setDefaultSink(const std::string& name);
  std::expected<void, Error> setDefaultSource(const std::string& name);

  /// Asks again and again until `condition` holds or `limit` has passed; whether it holds.
  bool waitUntil(const std::function<bool()>& condition, std::chrono::milliseconds limit);

 private:
  struct Connection;
  explicit PulseClient(std::unique_ptr<Connection> connection);

  std::unique_ptr<Connection> connection_;
};

}  // namespace quorin::device
