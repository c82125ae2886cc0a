#include "quorin-device/login_file.h"

#include <fstream>
#include <iomanip>
#include <sstream>

namespace quorin::device {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view kBegin = "### begin quorin-device (removed by: quorin-device remove)";
constexpr std::string_view kEnd = "### end quorin-device";
constexpr std::string_view kInclude = ".include ";
constexpr int kMaxLinks = 40;  ///< as many as the system follows

fs::path pulseScript(const fs::path& folder) {
  return folder / "default.pa";
}
fs::path pipeWireFile(const fs::path& folder) {
  return folder / "pipewire-pulse.conf.d/quorin-audio.conf";
}

std::string pipeWireContent() {
  std::ostringstream content;
  content << "# Written by quorin-device, removed by: quorin-device remove\npulse.cmd = [\n";
  for (const ModuleLine& module : {sinkModule(), sourceModule()}) {
    content << "    { cmd = \"load-module\" args = "
            << std::quoted(module.name + " " + module.argument) << " flags = [ nofail ] }\n";
  }
  content << "]\n";
  return content.str();
}

/// PulseAudio reads either the user's script or the system's: one of ours includes the system's.
std::string pulseBlock() {
  std::string block = std::string(kBegin) + '\n';
  // A device that cannot be created must not keep the audio server from starting.
  block += ".nofail\n";
  for (const ModuleLine& module : {sinkModule(), sourceModule()}) {
    block += "load-module " + module.name + " " + module.argument + '\n';
  }
  return block + std::string(kEnd) + '\n';
}

/// Empty where there is no such file.
std::expected<std::string, Error> read(const fs::path& path) {
  std::error_code error;
  if (!fs::exists(path, error) && !error) return {};
  std::ifstream file(path, std::ios::binary);
  std::ostringstream content;
  content << file.rdbuf();
  if (file) return content.str();
  return std::unexpected(Error{path.string() + " cannot be read. Look at its permissions."});
}

/// Where `path` leads, also by links to what does not exist yet.
fs::path targetOf(fs::path path) {
  std::error_code error;
  for (int links = 0; links < kMaxLinks && fs::is_symlink(path, error); ++links) {
    path = path.parent_path() / fs::read_symlink(path, error);
  }
  return path;
}

/// At once or not at all: what reads the file never sees half of it. A link stays a link.
Done write(const fs::path& path, std::string_view content) {
  std::error_code error;
  const fs::path target = targetOf(path);
  fs::create_directories(target.parent_path(), error);
  fs::path draft = target;
  draft += ".quorin-device";
  std::ofstream file(draft, std::ios::binary | std::ios::trunc);
  file << content;
  file.close();
  if (file) {
    if (const auto existing = fs::status(target, error); fs::exists(existing)) {
      fs::permissions(draft, existing.permissions(), error);
    }
    fs::rename(draft, target, error);
    if (!error) return {};
  }
  fs::remove(draft, error);
  return std::unexpected(Error{
      path.string() + " cannot be written. Look at its permissions and at the room on the disk."});
}

/// Removes what `path` leads to and, where that is the path itself, the folders above it that are
/// empty then, the topmost being `folder`.
Done removeWithFolders(const fs::path& path, const fs::path& folder) {
  std::error_code error;
  const fs::path target = targetOf(path);
  fs::remove(target, error);
  if (error) {
    return std::unexpected(Error{path.string() + " cannot be removed (" + error.message() + ")."});
  }
  if (target != path) return {};
  for (auto parent = path.parent_path(); parent != folder.parent_path();
       parent = parent.parent_path()) {
    if (!fs::is_empty(parent, error) || error || !fs::remove(parent, error)) break;
  }
  return {};
}

/// The user's script without our lines.
std::expected<std::string, Error> usersLines(const fs::path& path) {
  const auto script = read(path);
  if (!script) return std::unexpected(script.error());
  if (auto rest = withoutDevice(*script)) return *std::move(rest);
  return std::unexpected(
      Error{path.string() +
            " has lost the line \"### end quorin-device\". Put it back after the lines of "
            "quorin-device, or remove them all, and try again."});
}

std::expected<fs::path, Error> persistPulse(const ConfigFolders& folders) {
  fs::path path = pulseScript(folders.pulse);
  const fs::path system = pulseScript(folders.systemPulse);
  auto script = usersLines(path);
  if (!script) return std::unexpected(script.error());
  if (script->empty() && !fs::exists(system)) {
    return std::unexpected(Error{system.string() +
                                 " is missing, which PulseAudio starts with; install PulseAudio's "
                                 "configuration, or leave --persist out."});
  }
  if (script->empty()) *script = std::string(kInclude) + system.string();
  if (!script->ends_with('\n')) *script += '\n';
  if (auto written = write(path, *script + pulseBlock()); !written) {
    return std::unexpected(written.error());
  }
  return path;
}

}  // namespace

std::optional<std::string> withoutDevice(std::string_view script) {
  std::string rest;
  bool inBlock = false;
  while (!script.empty()) {
    const auto end = script.find('\n');
    const auto line = script.substr(0, end == std::string_view::npos ? end : end + 1);
    script.remove_prefix(line.size());
    const auto content = line.substr(0, line.find_last_not_of("\r\n") + 1);
    if (content == kBegin) {
      inBlock = true;
    } else if (!inBlock) {
      rest += line;
    } else if (content == kEnd) {
      inBlock = false;
    }
  }
  if (inBlock) return std::nullopt;
  return rest;
}

std::expected<fs::path, Error> persist(bool isPipeWire, const ConfigFolders& folders) {
  if (!isPipeWire) return persistPulse(folders);
  fs::path path = pipeWireFile(folders.pipeWire);
  if (auto written = write(path, pipeWireContent()); !written) {
    return std::unexpected(written.error());
  }
  return path;
}

std::expected<bool, Error> unpersist(const ConfigFolders& folders) {
  if (!isPersistent(folders)) return false;
  const fs::path script = pulseScript(folders.pulse);
  const auto rest = usersLines(script);
  if (!rest) return std::unexpected(rest.error());
  // A script that only includes the system's was made for the device.
  const auto included = std::string(kInclude) + pulseScript(folders.systemPulse).string() + '\n';
  auto undone = *rest == read(script)                ? Done()
                : rest->empty() || *rest == included ? removeWithFolders(script, folders.pulse)
                                                     : write(script, *rest);
  std::error_code error;
  if (const auto file = pipeWireFile(folders.pipeWire); undone && fs::exists(file, error)) {
    undone = removeWithFolders(file, folders.pipeWire);
  }
  if (!undone) return std::unexpected(undone.error());
  return true;
}

bool isPersistent(const ConfigFolders& folders) {
  std::error_code error;
  if (fs::exists(pipeWireFile(folders.pipeWire), error)) return true;
  return read(pulseScript(folders.pulse)).value_or("").contains(kBegin);
}

}  // namespace quorin::device
