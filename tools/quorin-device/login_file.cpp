#include "quorin-device/login_file.h"

#include <fstream>
#include <sstream>

namespace quorin::device {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view kBegin = "### begin quorin-device (removed by: quorin-device remove)\n";
constexpr std::string_view kEnd = "### end quorin-device\n";
constexpr std::string_view kInclude = ".include ";

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
  return "# Written by quorin-device, removed by: quorin-device remove\n"
         "pulse.cmd = [\n"
         "    { cmd = \"load-module\" args = " +
         quotedForPipeWire(std::string(kModuleName) + " " + std::string(kModuleArgument)) +
         " flags = [ nofail ] }\n"
         "]\n";
}

std::expected<std::string, Error> read(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream content;
  content << file.rdbuf();
  if (!file) return std::unexpected(path.string() + " cannot be read. Look at its permissions.");
  return content.str();
}

/// True also where nobody can tell, for want of a permission: reading it says so.
bool isThere(const fs::path& path) {
  std::error_code error;
  return fs::exists(path, error) || error;
}

/// At once or not at all: what reads the file never sees half of it. A link stays a link.
std::expected<void, Error> write(const fs::path& path, std::string_view content) {
  std::error_code error;
  const fs::path target = fs::weakly_canonical(path, error);
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
  return std::unexpected(path.string() +
                         " cannot be written. Look at its permissions and at the disk's room.");
}

/// Removes `path` and the folders above it that are empty then, the topmost being `folder`.
std::expected<void, Error> removeWithFolders(const fs::path& path, const fs::path& folder) {
  std::error_code error;
  fs::remove(path, error);
  if (error) {
    return std::unexpected(path.string() + " cannot be removed (" + error.message() + ").");
  }
  for (auto parent = path.parent_path(); parent != folder.parent_path();
       parent = parent.parent_path()) {
    if (!fs::is_empty(parent, error) || error || !fs::remove(parent, error)) break;
  }
  return {};
}

struct Block {
  std::size_t begin = std::string_view::npos;
  std::size_t end = std::string_view::npos;
  bool isThere() const { return begin != std::string_view::npos; }
  bool isWhole() const { return isThere() && end != std::string_view::npos; }
};

Block blockIn(std::string_view script) {
  const auto begin = script.find(kBegin);
  if (begin == std::string_view::npos) return {};
  const auto end = script.find(kEnd, begin);
  return {.begin = begin, .end = end == std::string_view::npos ? end : end + kEnd.size()};
}

/// A script whose block has lost its last line is the person's to mend: what follows may be theirs.
std::expected<std::string, Error> readScript(const fs::path& path) {
  auto script = read(path);
  if (script && blockIn(*script).isThere() && !blockIn(*script).isWhole()) {
    return std::unexpected(path.string() +
                           " has lost the line \"### end quorin-device\". Put it back after the "
                           "lines of quorin-device, or remove them all, and try again.");
  }
  return script;
}

std::string includeLineOf(std::string_view block) {
  const auto begin = block.find(kInclude);
  if (begin == std::string_view::npos) return {};
  return std::string(block.substr(begin, block.find('\n', begin) - begin)) + "\n";
}

std::expected<bool, Error> unpersistPulse(const ConfigFolders& folders) {
  const fs::path path = pulseScript(folders.pulse);
  if (!isThere(path)) return false;
  const auto script = readScript(path);
  if (!script) return std::unexpected(script.error());
  if (!blockIn(*script).isThere()) return false;
  const std::string rest = withoutDevice(*script);
  const auto undone = rest.empty() ? removeWithFolders(path, folders.pulse) : write(path, rest);
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
    auto content = readScript(path);
    if (!content) return std::unexpected(content.error());
    script = *std::move(content);
  } else if (!isThere(systemScript)) {
    return std::unexpected(systemScript.string() +
                           " is missing, which PulseAudio starts with; install PulseAudio's "
                           "configuration, or leave --persist out.");
  }
  if (auto written = write(path, withDevice(script, systemScript)); !written) {
    return std::unexpected(written.error());
  }
  return path;
}

}  // namespace

std::string withDevice(std::string_view script, const fs::path& systemScript) {
  std::string result = withoutDevice(script);
  const bool alone = result.empty();
  if (!alone && !result.ends_with('\n')) result += '\n';
  result += kBegin;
  if (alone) result += std::string(kInclude) + systemScript.string() + "\n";
  // A device that cannot be created must not keep the audio server from starting.
  result += ".nofail\n";
  result += "load-module " + std::string(kModuleName) + " " + std::string(kModuleArgument) + "\n";
  result += kEnd;
  return result;
}

std::string withoutDevice(std::string_view script) {
  const Block block = blockIn(script);
  if (!block.isWhole()) return std::string(script);
  const auto before = script.substr(0, block.begin);
  const auto after = script.substr(block.end);
  if (before.empty() && after.empty()) return {};
  // Lines that the person has added to a script of ours still need what it included.
  return includeLineOf(script.substr(block.begin, block.end - block.begin)) + std::string(before) +
         std::string(after);
}

std::expected<fs::path, Error> persist(const ServerInfo& server, const ConfigFolders& folders) {
  if (!server.isPipeWire()) return persistPulse(folders);
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
  return script && blockIn(*script).isThere();
}

}  // namespace quorin::device
