#include "support/private_audio.h"

#include "support/eventually.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <numbers>
#include <sstream>

namespace quorin::test {

PrivateAudioServer::PrivateAudioServer() {
  environment_ = {"XDG_RUNTIME_DIR=" + folder_.string(), "HOME=" + folder_.string(),
                  "XDG_CONFIG_HOME=" + folder_.string(), "XDG_STATE_HOME=" + folder_.string()};
}

bool PrivateAudioServer::start() {
  launch();
  return eventually([this] { return pactl({"info"}); });
}

bool PrivateAudioServer::addNullSink(const std::string& name, const std::string& description,
                                     const std::string& parameters) {
  std::vector<std::string> arguments{
      "load-module", "module-null-sink", "sink_name=" + name,
      "sink_properties='device.description=\"" + description + "\"'"};
  std::istringstream words(parameters);
  for (std::string word; words >> word;) arguments.push_back(word);
  return pactl(arguments);
}

bool PrivateAudioServer::setDefaultSource(const std::string& name) const {
  return eventually([&] { return pactl({"set-default-source", name}); });
}

bool PrivateAudioServer::setDefaultSink(const std::string& name) const {
  return eventually([&] { return pactl({"set-default-sink", name}); });
}

bool PrivateAudioServer::pactl(std::vector<std::string> arguments) const {
  arguments.insert(arguments.begin(), "pactl");
  return launched(std::move(arguments)).wait() == 0;
}

ChildProcess PrivateAudioServer::launched(std::vector<std::string> arguments) const {
  const auto log = folder_ / (arguments.front() + ".log");
  return ChildProcess(
      {.arguments = std::move(arguments), .environment = environment_, .output = log});
}

bool PrivateAudioServer::removeNullSink(const std::string& name) const {
  for (const auto& line : list("modules")) {
    if (line.contains("sink_name=" + name + ' ')) {
      return pactl({"unload-module", line.substr(0, line.find('\t'))});
    }
  }
  return false;
}

void PrivateAudioServer::moveRecordings(const std::string& source) const {
  for (const auto& line : list("source-outputs")) {
    pactl({"move-source-output", line.substr(0, line.find('\t')), source});
  }
}

ChildProcess PrivateAudioServer::record(const std::string& program) const {
  return launched({"parec", "--client-name=" + program, "/dev/null"});
}

std::vector<std::string> PrivateAudioServer::list(const std::string& kind) const {
  std::vector<std::string> result;
  std::istringstream lines(ask({"list", "short", kind}));
  for (std::string line; std::getline(lines, line);) result.push_back(line);
  return result;
}

std::string PrivateAudioServer::ask(std::vector<std::string> arguments) const {
  const auto answer = folder_ / "answer.txt";
  std::filesystem::remove(answer);
  arguments.insert(arguments.begin(), "pactl");
  ChildProcess({.arguments = std::move(arguments), .environment = environment_, .output = answer})
      .wait();
  return contentOf(answer);
}

std::string PrivateAudioServer::defaults() const {
  std::string names = ask({"get-default-sink"}) + ask({"get-default-source"});
  std::ranges::replace(names, '\n', ' ');
  return names.substr(0, names.find_last_not_of(' ') + 1);
}

bool PrivateAudioServer::defaultsBecome(const std::string& names) const {
  return eventually([&] { return defaults() == names; });
}

std::ptrdiff_t PrivateAudioServer::playbacksOn(const std::string& sink) const {
  for (const auto& line : list("sinks")) {
    if (!line.contains('\t' + sink + '\t')) continue;
    // The second column of a playback is the number of its sink.
    const auto number = '\t' + line.substr(0, line.find('\t')) + '\t';
    return std::ranges::count_if(list("sink-inputs"),
                                 [&](auto& each) { return each.contains(number); });
  }
  return 0;
}

void PrivateAudioServer::signalAll(int signal) {
  for (const auto& process : processes_) ::kill(process.pid(), signal);
}

ChildProcess PrivateAudioServer::play(const Sine& sine) const {
  constexpr int kRate = 48000;
  const auto file = folder_ / ("sine-" + std::to_string(sine.frequency) + ".raw");
  const auto channels = static_cast<std::size_t>(std::ranges::count(sine.channelMap, ',') + 1);
  std::vector<float> samples;
  const auto step = 2 * std::numbers::pi * sine.frequency / kRate;
  for (int frame = 0; frame < kRate * sine.seconds; ++frame) {
    samples.insert(samples.end(), channels,
                   static_cast<float>(sine.level * std::sin(step * frame)));
  }
  std::ofstream(file, std::ios::binary)
      .write(reinterpret_cast<const char*>(samples.data()),
             static_cast<std::streamsize>(samples.size() * sizeof(float)));
  return launched({"pacat", "--playback", "--raw", "--format=float32le", "--rate=48000",
                   "--channels=" + std::to_string(channels), "--channel-map=" + sine.channelMap,
                   "--latency-msec=20", "--device=" + sine.sink, file.string()});
}

void PrivateAudioServer::useInThisProcess() const {
  for (const auto& entry : environment_) {
    const auto equals = entry.find('=');
    ::setenv(entry.substr(0, equals).c_str(), entry.substr(equals + 1).c_str(), 1);
  }
}

std::string PrivateAudioServer::output() const {
  std::ostringstream all;
  for (const auto& entry : std::filesystem::directory_iterator(folder_)) {
    if (entry.path().extension() != ".log") continue;
    all << "== " << entry.path().filename().string() << '\n'
        << contentOf(entry.path()) << '\n';  // an empty one's rdbuf would end the stream
  }
  return all.str();
}

namespace {

class PrivatePulse : public PrivateAudioServer {
 public:
  explicit PrivatePulse(bool script) : script_(script) {
    environment_.push_back("PULSE_SERVER=unix:" + (folder_ / "native").string());
  }

 private:
  void launch() override {
    std::error_code ignored;
    std::filesystem::remove(folder_ / "native", ignored);  // left behind by one that was killed
    std::vector<std::string> arguments = {
        "pulseaudio",
        "--daemonize=no",
        "--use-pid-file=no",
        "--exit-idle-time=-1",
        "-L",
        "module-native-protocol-unix auth-anonymous=1 socket=" + (folder_ / "native").string()};
    if (!script_) arguments.emplace_back("-n");
    processes_.push_back(launched(std::move(arguments)));
  }

  const bool script_;
};

class PrivatePipeWire : public PrivateAudioServer {
 public:
  PrivatePipeWire() {
    environment_.push_back("PULSE_SERVER=unix:" + (folder_ / "pulse/native").string());
    environment_.push_back("DBUS_SESSION_BUS_ADDRESS=unix:path=" + (folder_ / "bus").string());
    environment_.emplace_back("DISPLAY=");
  }

 private:
  void launch() override {
    std::error_code ignored;
    for (const auto* leftBehind : {"bus", "pipewire-0"}) {  // by servers that were killed
      std::filesystem::remove(folder_ / leftBehind, ignored);
    }
    const auto run = [this](const std::vector<std::string>& arguments) {
      processes_.push_back(launched(arguments));
    };
    run({"dbus-daemon", "--session", "--nofork",
         "--address=unix:path=" + (folder_ / "bus").string()});
    eventually([this] { return std::filesystem::exists(folder_ / "bus"); });
    run({"pipewire"});
    eventually([this] { return std::filesystem::exists(folder_ / "pipewire-0"); });
    // PipeWire 0.3 no longer reports a change of the default device when a client leaves just as
    // the list of the defaults comes up. So only a monitor connects before that.
    const auto objects = folder_ / "pw-mon.log";
    std::filesystem::remove(objects, ignored);
    const ChildProcess monitor(
        {.arguments = {"stdbuf", "-oL", "pw-mon"}, .environment = environment_, .output = objects});
    run({"wireplumber"});
    eventually([&] { return contentOf(objects).contains("metadata.name = \"default\""); });
    run({"pipewire-pulse"});
  }
};

}  // namespace

std::unique_ptr<PrivateAudioServer> makePrivateServer(std::string_view kind, bool script) {
  const auto areInstalled = [](std::initializer_list<const char*> programs) {
    return std::ranges::all_of(programs, hasProgram);
  };
  if (kind == "PulseAudio" && areInstalled({"pulseaudio", "pactl"})) {
    return std::make_unique<PrivatePulse>(script);
  }
  if (kind == "PipeWire" && areInstalled({"pipewire", "pw-mon", "wireplumber", "pipewire-pulse",
                                          "dbus-daemon", "pactl"})) {
    return std::make_unique<PrivatePipeWire>();
  }
  return nullptr;
}

}  // namespace quorin::test
