#include "quorin-device/login_file.h"

#include <algorithm>
#include <fstream>
#include <sstream>
#include <vector>

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

std::string quotedForPipeWire(std::string_view text) {
  std::string quoted = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') quoted += '\\';
    quoted += c;
  }
  return quoted + '"';
}

std::string pipeWireContent() {
  std::string content =
      "# Written by quorin-device, removed by: quorin-device remove\npulse.cmd = [\n";
  for (const ModuleLine& module : {sinkModule(), sourceModule()}) {
    content += "    { cmd = \"load-module\" args = " +
               quotedForPipeWire(module.name + " " + module.argument) + " flags = [ nofail ] }\n";
  }
  return content + "]\n";
}

std::expected<std::string, Error> read(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream content;
  content << file.rdbuf();
  if (!file)
    return std::unexpected(Error{path.string() + " cannot be read. Look at its permissions."});
  return content.str();
}

/// True also where it cannot be known, for want of a permission: reading it then fails.
bool isThere(const fs::path& path) {
  std::error_code error;
  return fs::exists(path, error) || error;
}

/// Where `path` leads, also by links to what does not exist yet.
fs::path targetOf(fs::path path) {
  std::error_code error;
  for (int links = 0; links < kMaxLinks && fs::is_symlink(path, error); ++links) {
    const fs::path next = fs::read_symlink(path, error);
    path = next.is_absolute() ? next : path.parent_path() / next;
  }
  return path;
}

/// At once or not at all: what reads the file never sees half of it. A link stays a link.
std::expected<void, Error> write(const fs::path& path, std::string_view content) {
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
  return std::unexpected(Error{path.string() +
                               " cannot be written. Look at its permissions and at the room on the "
                               "disk."});
}

/// Removes what `path` leads to and, where that is the path itself, the folders above it that are
/// empty then, the topmost being `folder`.
std::expected<void, Error> removeWithFolders(const fs::path& path, const fs::path& folder) {
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

/// With their ends, "\n" or "\r\n"; the last line may have none.
std::vector<std::string_view> linesOf(std::string_view text) {
  std::vector<std::string_view> lines;
  while (!text.empty()) {
    const auto end = text.find('\n');
    lines.push_back(text.substr(0, end == std::string_view::npos ? end : end + 1));
    text.remove_prefix(lines.back().size());
  }
  return lines;
}

bool isLine(std::string_view line, std::string_view content) {
  while (line.ends_with('\n') || line.ends_with('\r')) line.remove_suffix(1);
  return line == content;
}

bool holdsDevice(std::string_view script) {
  return std::ranges::any_of(linesOf(script),
                             [](std::string_view line) { return isLine(line, kBegin); });
}

Error lastLineMissing(const fs::path& path) {
  return {path.string() +
          " has lost the line \"### end quorin-device\". Put it back after the lines of "
          "quorin-device, or remove them all, and try again."};
}

std::expected<bool, Error> unpersistPulse(const ConfigFolders& folders) {
  const fs::path path = pulseScript(folders.pulse);
  if (!isThere(path)) return false;
  const auto script = read(path);
  if (!script) return std::unexpected(script.error());
  if (!holdsDevice(*script)) return false;
  const auto rest = withoutDevice(*script);
  if (!rest) return std::unexpected(lastLineMissing(path));
  const auto undone = rest->empty() ? removeWithFolders(path, folders.pulse) : write(path, *rest);
  if (!undone) return std::unexpected(undone.error());
  return true;
}

std::expected<bool, Error> unpersistPipeWire(const ConfigFolders& folders) {
  const fs::path path = pipeWireFile(folders.pipeWire);
  if (!isThere(path)) return false;
  if (auto removed = removeWithFolders(path, folders.pipeWire); !removed) {
    return std::unexpected(removed.error());
  }
  return true;
}

std::expected<fs::path, Error> persistPulse(const ConfigFolders& folders) {
  fs::path path = pulseScript(folders.pulse);
  const fs::path systemScript = pulseScript(folders.systemPulse);
  std::string script;
  if (isThere(path)) {
    auto content = read(path);
    if (!content) return std::unexpected(content.error());
    if (!withoutDevice(*content)) return std::unexpected(lastLineMissing(path));
    script = *std::move(content);
  } else if (!isThere(systemScript)) {
    return std::unexpected(Error{systemScript.string() +
                                 " is missing, which PulseAudio starts with; install PulseAudio's "
                                 "configuration, or leave --persist out."});
  }
  if (auto written = write(path, withDevice(script, systemScript)); !written) {
    return std::unexpected(written.error());
  }
  return path;
}

}  // namespace

std::string withDevice(std::string_view script, const fs::path& systemScript) {
  std::string result = withoutDevice(script).value_or(std::string(script));
  const bool alone = result.empty();
  if (!alone && !result.ends_with('\n')) result += '\n';
  const auto add = [&result](std::string_view line) { (result += line) += '\n'; };
  add(kBegin);
  if (alone) add(std::string(kInclude) + systemScript.string());
  // A device that cannot be created must not keep the audio server from starting.
  add(".nofail");
  for (const ModuleLine& module : {sinkModule(), sourceModule()}) {
    add("load-module " + module.name + " " + module.argument);
  }
  add(kEnd);
  return result;
}

std::optional<std::string> withoutDevice(std::string_view script) {
  std::string rest;
  std::string included;
  bool inBlock = false;
  for (const std::string_view line : linesOf(script)) {
    if (isLine(line, kBegin)) {
      inBlock = true;
    } else if (!inBlock) {
      rest += line;
    } else if (isLine(line, kEnd)) {
      inBlock = false;
    } else if (line.starts_with(kInclude)) {
      included = line;
    }
  }
  if (inBlock) return std::nullopt;
  // Lines that the user has added to a script of ours still need what it included.
  return rest.empty() ? rest : included + rest;
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
  const auto pulse = unpersistPulse(folders);
  if (!pulse) return pulse;
  const auto pipeWire = unpersistPipeWire(folders);
  if (!pipeWire) return pipeWire;
  return *pulse || *pipeWire;
}

bool isPersistent(const ConfigFolders& folders) {
  if (read(pipeWireFile(folders.pipeWire))) return true;
  const auto script = read(pulseScript(folders.pulse));
  return script && holdsDevice(*script);
}

}  // namespace quorin::device
