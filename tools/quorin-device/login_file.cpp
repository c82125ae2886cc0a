#include "quorin-device/login_file.h"

#include "quorin-device/device_rules.h"

#include <algorithm>
#include <fstream>
#include <iomanip>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>

namespace quorin::device {

namespace fs = std::filesystem;

namespace {

// Around our lines; comments to both servers.
const std::string kBegin = "### begin quorin-device (removed by: quorin-device remove)";
const std::string kEnd = "### end quorin-device";
constexpr int kMaxLinks = 40;  ///< as many as the system follows

fs::path pulseScript(const fs::path& folder) {
  return folder / "default.pa";
}
fs::path pipeWireFile(const ConfigFolders& folders) {
  return folders.pipeWire / "pipewire-pulse.conf.d/quorin-audio.conf";
}

std::string pipeWireLines() {
  std::ostringstream lines;
  lines << "pulse.cmd = [\n";
  for (const Module& module : {sinkModule(), sourceModule()}) {
    lines << "    { cmd = \"load-module\" args = "
          << std::quoted(module.name + " " + module.argument) << " flags = [ nofail ] }\n";
  }
  lines << "]\n";
  return lines.str();
}

std::string pulseLines() {
  // A device that cannot be created must not keep the audio server from starting.
  std::string lines = ".nofail\n";
  for (const Module& module : {sinkModule(), sourceModule()}) {
    lines += "load-module " + module.name + " " + module.argument + '\n';
  }
  return lines;
}

/// PulseAudio reads either the user's script or the system's.
std::string includeLine(const ConfigFolders& folders) {
  return ".include " + pulseScript(folders.systemPulse).string() + '\n';
}

/// Empty where there is no such file.
std::string read(const fs::path& path) {
  std::error_code error;
  if (!fs::exists(path, error) && !error) return {};
  std::ifstream file(path, std::ios::binary);
  std::ostringstream content;
  content << file.rdbuf();
  if (file) return content.str();
  throw Error(path.string() + " cannot be read. Look at its permissions.");
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
void write(const fs::path& path, std::string_view content) {
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
    if (!error) return;
  }
  fs::remove(draft, error);
  throw Error(path.string() +
              " cannot be written. Look at its permissions and at the room on the disk.");
}

/// Removes what `path` leads to and, where that is the path itself, the folders above it that are
/// empty then, the topmost being `folder`.
void removeWithFolders(const fs::path& path, const fs::path& folder) {
  std::error_code error;
  const fs::path target = targetOf(path);
  fs::remove(target, error);
  if (error) {
    throw Error(path.string() + " cannot be removed (" + error.message() + ").");
  }
  if (target != path) return;
  for (auto parent = path.parent_path(); parent != folder.parent_path();
       parent = parent.parent_path()) {
    if (!fs::remove(parent, error)) break;
  }
}

/// What a file has beside our lines, whatever its line ends. Where a block of ours has lost its
/// last line, what follows may be the user's.
std::string usersLines(const fs::path& path) {
  std::string rest;
  bool inBlock = false;
  const std::string content = read(path);
  for (std::string_view text = content; !text.empty();) {
    const auto line = text.substr(0, std::min(text.find('\n'), text.size() - 1) + 1);
    text.remove_prefix(line.size());
    const auto words = line.substr(0, line.find_last_not_of("\r\n") + 1);
    if (words == kBegin) {
      inBlock = true;
    } else if (!inBlock) {
      rest += line;
    } else if (words == kEnd) {
      inBlock = false;
    }
  }
  if (!inBlock) return rest;
  throw Error(path.string() +
              " has lost the line \"### end quorin-device\". Put it back after the lines of "
              "quorin-device, or remove them all, and try again.");
}

}  // namespace

fs::path persist(bool isPipeWire, const ConfigFolders& folders) {
  fs::path path = isPipeWire ? pipeWireFile(folders) : pulseScript(folders.pulse);
  auto lines = usersLines(path);
  if (!isPipeWire && lines.empty()) {
    if (const auto system = pulseScript(folders.systemPulse); !fs::exists(system)) {
      throw Error(system.string() +
                  " is missing, which PulseAudio starts with; install PulseAudio's configuration, "
                  "or leave --persist out.");
    }
    lines = includeLine(folders);
  }
  if (!lines.empty() && !lines.ends_with('\n')) lines += '\n';
  write(path, lines + kBegin + '\n' + (isPipeWire ? pipeWireLines() : pulseLines()) + kEnd + '\n');
  return path;
}

bool unpersist(const ConfigFolders& folders) {
  bool any = false;
  for (const auto& [path, folder] : {std::pair(pulseScript(folders.pulse), folders.pulse),
                                     std::pair(pipeWireFile(folders), folders.pipeWire)}) {
    const auto lines = usersLines(path);
    if (lines == read(path)) continue;
    any = true;
    // A script that only includes the system's was made for the device.
    if (lines.empty() || lines == includeLine(folders)) {
      removeWithFolders(path, folder);
    } else {
      write(path, lines);
    }
  }
  return any;
}

bool isPersistent(const ConfigFolders& folders) {
  return read(pulseScript(folders.pulse)).contains(kBegin) ||
         read(pipeWireFile(folders)).contains(kBegin);
}

}  // namespace quorin::device
