#include "quorin-device/virtual_device.h"

#include "audio/device_guard.h"

#include <algorithm>
#include <chrono>
#include <fstream>

namespace quorin::device {

using namespace std::chrono_literals;
namespace fs = std::filesystem;

namespace {

/// Servers answer before every client knows of what they did.
constexpr auto kTimeout = 3s;

audio::Device deviceNamed(const std::vector<Endpoint>& endpoints, const std::string& name) {
  const Endpoint* const endpoint = find(endpoints, name);
  if (endpoint == nullptr) return {};
  return {.number = endpoint->index + 1, .name = endpoint->description, .format = {}};
}

std::string line(const std::string& label, const audio::Device& device, bool right) {
  return label + audio::currentDeviceName(device) + (right ? "  (right)" : "  (not right)");
}

}  // namespace

std::expected<std::vector<std::uint32_t>, Error> createDevice(PulseClient& client, int lender) {
  std::vector<std::uint32_t> loaded;
  const auto load = [&](const ModuleLine& module) -> Done {
    const auto index = client.loadModule(module.name, module.argument);
    if (!index) return std::unexpected(index.error());
    loaded.push_back(*index);
    return {};
  };
  const auto before = client.look();
  if (!before) return std::unexpected(before.error());
  if (findDevice(*before).sink == nullptr) {
    if (auto done = load(sinkModule(lender)); !done) return std::unexpected(done.error());
    client.waitUntil([](const Snapshot& now) { return findDevice(now).sink != nullptr; }, kTimeout);
  }
  const auto between = client.look();
  if (!between) return std::unexpected(between.error());
  if (!findDevice(*between).isWhole()) {
    if (auto done = load(sourceModule()); !done) return std::unexpected(done.error());
  }
  if (!client.waitUntil([](const Snapshot& now) { return findDevice(now).isWhole(); }, kTimeout)) {
    return std::unexpected(
        Error{"The audio server says that it created the device \"Quorin Audio\", but does not "
              "show it. Restart the audio server and try again."});
  }
  return loaded;
}

Done makeDefault(PulseClient& client) {
  const auto now = client.look();
  if (!now) return std::unexpected(now.error());
  const DevicePair device = findDevice(*now);
  if (!device.isWhole()) {
    return std::unexpected(Error{"The device \"Quorin Audio\" has vanished. Try again."});
  }
  if (auto done = client.setDefaultSink(device.sink->name); !done) return done;
  if (auto done = client.setDefaultSource(device.source->name); !done) return done;
  const auto isDefault = [&](const Snapshot& snapshot) {
    return snapshot.defaultSink == device.sink->name &&
           snapshot.defaultSource == device.source->name;
  };
  if (client.waitUntil(isDefault, kTimeout)) return {};
  return std::unexpected(
      Error{"The audio server did not make \"Quorin Audio\" the default. Choose it in the sound "
            "settings, as output and as input."});
}

void restoreDefaults(PulseClient& client, const Defaults& former, const Say& say) {
  const auto now = client.look();
  if (!now) return;
  const Holds holds = holdsDefaults(*now);
  const auto restore = [&](bool held, const std::string& name, const std::string& what,
                           auto setDefault) {
    if (!held || name.empty()) return;
    say((client.*setDefault)(name)
            ? "The default " + what + " is " + name + " again."
            : "The former default " + what + " " + name +
                  " is not there at present; the audio server chooses another one.");
  };
  restore(holds.output, former.output, "output", &PulseClient::setDefaultSink);
  restore(holds.input, former.input, "input", &PulseClient::setDefaultSource);
}

Defaults readDefaults(const fs::path& file) {
  Defaults defaults;
  std::ifstream lines(file);
  std::getline(lines, defaults.output);
  std::getline(lines, defaults.input);
  return defaults;
}

Done writeDefaults(const fs::path& file, const Defaults& defaults) {
  std::error_code ignored;
  fs::create_directories(file.parent_path(), ignored);
  std::ofstream lines(file, std::ios::trunc);
  lines << defaults.output << '\n' << defaults.input << '\n';
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

Done add(PulseClient& client, const Places& places, const AddOptions& options, const Say& say) {
  // Creating the device may make it default where there is no other: look before.
  const auto before = client.look();
  if (!before) return std::unexpected(before.error());
  if (options.makeDefault) {
    const auto former = toRemember(*before, readDefaults(places.formerDefaults));
    if (auto done = writeDefaults(places.formerDefaults, former); !done) return done;
  }
  const auto loaded = createDevice(client);
  if (!loaded) return std::unexpected(loaded.error());
  say(loaded->empty() ? "The device \"Quorin Audio\" is there already."
                      : "The device \"Quorin Audio\" is there now, as output and as input.");
  if (options.persist) {
    const auto path = persist(before->isPipeWire(), places.config);
    if (!path) return std::unexpected(path.error());
    say("It will be created at every login, by " + path->string() + ".");
  }
  if (!options.makeDefault) return {};
  if (auto done = makeDefault(client); !done) return done;
  say("It is the default output and input now. You hear nothing yourself meanwhile; \"remove\" "
      "restores what was default before.");
  return {};
}

Done remove(PulseClient& client, const Places& places, const Say& say) {
  // While the device is there, so that what plays moves without a gap.
  restoreDefaults(client, readDefaults(places.formerDefaults), say);
  const auto before = client.look();
  if (!before) return std::unexpected(before.error());
  bool any = false;
  for (const LoadedModule& module : before->modules) {
    if (!isOurs(module)) continue;
    any = true;
    // The source may have gone with its sink.
    if (auto done = client.unloadModule(module.index);
        !done && done.error().cause == Error::Cause::kNoServer) {
      return done;
    }
  }
  const auto isGone = [](const Snapshot& now) {
    return std::ranges::none_of(now.modules, isOurs) && find(now.sinks, kSinkName) == nullptr;
  };
  if (any && !client.waitUntil(isGone, kTimeout)) {
    return std::unexpected(
        Error{"The audio server still shows the device. Restart the audio server."});
  }
  say(any ? "The device \"Quorin Audio\" is gone."
          : "There is no device \"Quorin Audio\" of this program's.");
  forgetDefaults(places.formerDefaults);
  return {};
}

std::expected<bool, Error> status(PulseClient& client, const Places& places, const Say& say) {
  const auto now = client.look();
  if (!now) return std::unexpected(now.error());
  const DevicePair device = findDevice(*now);
  const auto output = deviceNamed(now->sinks, now->defaultSink);
  const auto input = deviceNamed(now->sources, now->defaultSource);
  const auto routing = audio::routingOf({.output = output, .input = input});

  say("Audio server:    " + now->server);
  say(std::string("Virtual device:  ") +
      (device.isWhole()         ? "there, as output and as input"
       : device.sink != nullptr ? "there, as output only (add makes the input)"
                                : "not there") +
      (isPersistent(places.config) ? ", created at every login" : ", not created at login"));
  say(line("Default output:  ", output, routing.outOK));
  say(line("Default input:   ", input, routing.inOK));
  const std::string sound = soundLine(*now);
  if (sound == "muted") say("Note: \"Quorin Audio\" is muted, so that nothing can be heard.");
  if (routing.inOK) {
    say("Warning: a call takes the default input, and would send what this desktop plays. Choose "
        "the microphone in the program that calls, or put the default input back when you do not "
        "stream.");
  }
  if (routing.isRight()) {
    say("quorin-stream can start: both names contain \"Quorin Audio\".");
    return true;
  }
  const char* const wrong = routing.outOK  ? "input is"
                            : routing.inOK ? "output is"
                                           : "output and input are";
  say(std::string("quorin-stream waits: the default ") + wrong +
      " not \"Quorin Audio\". Its button \"Set up for me\" puts that right, or: quorin-device add "
      "--default");
  return false;
}

}  // namespace quorin::device
