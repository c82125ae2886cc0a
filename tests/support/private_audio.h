#pragma once

#include "support/child_process.h"
#include "support/temporary_directory.h"

#include <csignal>
#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

/// Private audio servers of a test: inaudible, and apart from the user's own.
namespace quorin::test {

/// An audio server with its runtime folder, and the environment that leads to it.
class PrivateAudioServer {
 public:
  virtual ~PrivateAudioServer() = default;
  PrivateAudioServer(const PrivateAudioServer&) = delete;
  PrivateAudioServer& operator=(const PrivateAudioServer&) = delete;

  /// Starts the server and waits until it answers; false when it does not within 10 s, then
  /// `output` tells why.
  bool start();
  /// SIGKILL.
  void kill() { processes_.clear(); }
  /// From `freeze` to `thaw` the server runs, but answers nothing.
  void freeze() { signalAll(SIGSTOP); }
  void thaw() { signalAll(SIGCONT); }

  /// Adds a silent sink; its monitor is the source "NAME.monitor". With the parameter
  /// "norewinds=1" its sound begins at once on PulseAudio, instead of up to 2 s late.
  bool addNullSink(const std::string& name, const std::string& description,
                   const std::string& parameters = {});
  bool removeNullSink(const std::string& name) const;
  /// Wait for the device to be there: PipeWire adds it a little after the answer to its making.
  bool setDefaultSource(const std::string& name) const;
  bool setDefaultSink(const std::string& name) const;
  /// True when the server has done so.
  bool pactl(std::vector<std::string> arguments) const;
  /// How many streams record.
  std::ptrdiff_t recordings() const { return std::ssize(list("source-outputs")); }
  /// As a user does with a mixer.
  void moveRecordings(const std::string& source) const;
  /// A program of this name that records the default source.
  ChildProcess record(const std::string& program) const;
  /// Makes both default, and waits for them to be there.
  bool useDevices(const std::string& sink, const std::string& source) const {
    return setDefaultSink(sink) && setDefaultSource(source);
  }
  /// "SINK SOURCE", as the server names its defaults.
  std::string defaults() const;
  /// Waits for these defaults.
  bool defaultsBecome(const std::string& names) const;
  /// How many streams play into the sink.
  std::ptrdiff_t playbacksOn(const std::string& sink) const;
  /// The lines of `pactl list short KIND`.
  std::vector<std::string> list(const std::string& kind) const;
  const std::filesystem::path& folder() const { return folder_; }

  /// Plays a sine, the same on all its channels, into a sink.
  struct Sine {
    double frequency = 440;
    double level = 0.5;  ///< peak
    int seconds = 5;
    std::string sink;
    std::string channelMap = "front-left,front-right";
  };
  ChildProcess play(const Sine& sine) const;

  /// What the test's own process needs in its environment: "NAME=value".
  const std::vector<std::string>& environment() const { return environment_; }
  void useInThisProcess() const;

  std::string output() const;

 protected:
  PrivateAudioServer();

  virtual void launch() = 0;
  /// What `pactl` answers.
  std::string ask(std::vector<std::string> arguments) const;
  void signalAll(int signal);
  /// A program in the server's environment, which logs to a file of its name.
  ChildProcess launched(std::vector<std::string> arguments) const;

  TemporaryDirectory directory_;
  const std::filesystem::path folder_ = directory_.path();
  std::vector<std::string> environment_;
  std::vector<ChildProcess> processes_;  ///< those that make up the server
};

/// "PulseAudio" or "PipeWire"; null where that is not installed. `script`: whether PulseAudio
/// starts as at a login, with the user's own start script.
std::unique_ptr<PrivateAudioServer> makePrivateServer(std::string_view kind, bool script = false);

}  // namespace quorin::test
