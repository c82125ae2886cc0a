#include "quorin-device/virtual_device.h"

#include "audio/device_guard.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace quorin::device {

using namespace std::chrono_literals;

namespace {

/// Servers answer before everybody has heard of what they did.
constexpr auto kPatience = 3s;

const std::string kSink(kSinkName);
const std::string kMonitor = kSink + ".monitor";

bool isOurs(const LoadedModule& module) {
  const auto sinkArgument = "sink_name=" + kSink;
  const auto at = module.argument.find(sinkArgument);
  if (module.name != kModuleName || at == std::string::npos) return false;
  const auto end = at + sinkArgument.size();
  return end == module.argument.size() || module.argument[end] == ' ';
}

std::string line(const std::string& label, const audio::Device& device, bool right) {
  return label + audio::currentDeviceName(device) + (right ? "  (right)" : "  (not right)");
}

}  // namespace

VirtualDevice::VirtualDevice(PulseClient client, Places places, Say say)
    : client_(std::move(client)), places_(std::move(places)), say_(std::move(say)) {}

std::expected<bool, Error> VirtualDevice::exists() {
  const auto sink = client_.sink(kSink);
  if (!sink) return std::unexpected(sink.error());
  return sink->number != 0;
}

std::expected<Defaults, Error> VirtualDevice::currentDefaults() {
  const auto info = client_.serverInfo();
  if (!info) return std::unexpected(info.error());
  return Defaults{.output = info->defaultSink, .input = info->defaultSource};
}

std::expected<void, Error> VirtualDevice::add(const Arguments& arguments) {
  // Creating the device may make it default where there is no other: look before.
  const auto before = currentDefaults();
  if (!before) return std::unexpected(before.error());
  if (arguments.makeDefault) {
    const auto former = toRemember(*before, readDefaults(places_.formerDefaults));
    if (auto done = writeDefaults(places_.formerDefaults, former); !done) return done;
  }
  if (auto done = create(); !done) return done;
  if (arguments.persist) {
    const auto info = client_.serverInfo();
    if (!info) return std::unexpected(info.error());
    const auto path = persist(*info, places_.config);
    if (!path) return std::unexpected(path.error());
    say_("It will be created at every login, by " + path->string() + ".");
  }
  return arguments.makeDefault ? makeDefault() : std::expected<void, Error>();
}

std::expected<void, Error> VirtualDevice::create() {
  const auto there = exists();
  if (!there) return std::unexpected(there.error());
  if (*there) {
    say_("The device \"Quorin Audio\" is there already.");
    return {};
  }
  const auto loaded = client_.loadModule(std::string(kModuleName), std::string(kModuleArgument));
  if (!loaded) return loaded;
  const auto appeared = [this] {
    const auto source = client_.source(kMonitor);
    return exists().value_or(false) && source && source->number != 0;
  };
  if (!client_.waitUntil(appeared, kPatience)) {
    return std::unexpected(
        "The audio server says that it created the device \"Quorin Audio\", but does not show "
        "it. Restart the audio server and try again.");
  }
  say_("The device \"Quorin Audio\" is there now.");
  return {};
}

std::expected<void, Error> VirtualDevice::makeDefault() {
  if (auto done = client_.setDefaultSink(kSink); !done) return done;
  if (auto done = client_.setDefaultSource(kMonitor); !done) return done;
  const Defaults wanted{.output = kSink, .input = kMonitor};
  const auto happened = [&] {
    const auto current = currentDefaults();
    return current && *current == wanted;
  };
  if (!client_.waitUntil(happened, kPatience)) {
    return std::unexpected(
        "The audio server did not make \"Quorin Audio\" the default. Choose it in the sound "
        "settings as output, and its monitor as input.");
  }
  say_(
      "It is the default output and input now. You hear nothing yourself meanwhile; \"remove\" "
      "brings back what was default before.");
  return {};
}

std::expected<void, Error> VirtualDevice::remove() {
  const auto before = currentDefaults();
  if (!before) return std::unexpected(before.error());
  const Defaults former = readDefaults(places_.formerDefaults);
  restore(former, *before);  // while the device is there, so that what plays moves without a gap
  const auto unloaded = unload();
  if (!unloaded) return std::unexpected(unloaded.error());
  say_(*unloaded ? "The device \"Quorin Audio\" is gone."
                 : "There is no device \"Quorin Audio\" of this program's.");
  forgetDefaults(places_.formerDefaults);
  return {};
}

void VirtualDevice::restore(const Defaults& former, const Defaults& before) {
  // A default that the person has chosen since stays.
  if (isVirtual(before.output) && !former.output.empty()) {
    say_(client_.setDefaultSink(former.output)
             ? "The default output is " + former.output + " again."
             : "The former default output " + former.output +
                   " is not there at present; the audio server chooses another one.");
  }
  if (isVirtual(before.input) && !former.input.empty()) {
    say_(client_.setDefaultSource(former.input)
             ? "The default input is " + former.input + " again."
             : "The former default input " + former.input +
                   " is not there at present; the audio server chooses another one.");
  }
}

std::expected<bool, Error> VirtualDevice::unload() {
  const auto modules = client_.modules();
  if (!modules) return std::unexpected(modules.error());
  bool any = false;
  for (const LoadedModule& module : *modules) {
    if (!isOurs(module)) continue;
    if (auto done = client_.unloadModule(module.index); !done) return std::unexpected(done.error());
    any = true;
  }
  const auto isGone = [this] { return !exists().value_or(true); };
  if (any && !client_.waitUntil(isGone, kPatience)) {
    return std::unexpected("The audio server still shows the device. Restart the audio server.");
  }
  return any;
}

std::expected<bool, Error> VirtualDevice::status() {
  const auto info = client_.serverInfo();
  if (!info) return std::unexpected(info.error());
  const auto output = client_.sink(info->defaultSink);
  if (!output) return std::unexpected(output.error());
  const auto input = client_.source(info->defaultSource);
  if (!input) return std::unexpected(input.error());
  const auto there = exists();
  if (!there) return std::unexpected(there.error());

  const auto routing = audio::routingOf({.output = *output, .input = *input});
  say_("Audio server:    " + info->name);
  say_(std::string("Virtual device:  ") + (*there ? "there" : "not there") +
       (isPersistent(places_.config) ? ", created at every login" : ", not created at login"));
  say_(line("Default output:  ", *output, routing.outOK));
  say_(line("Default input:   ", *input, routing.inOK));
  if (routing.isRight()) {
    say_("quorin-stream can start: both names contain \"Quorin Audio\".");
    return true;
  }
  const char* const wrong = routing.outOK  ? "input is"
                            : routing.inOK ? "output is"
                                           : "output and input are";
  say_(std::string("quorin-stream waits: the default ") + wrong +
       " not \"Quorin Audio\". Put it right with: quorin-device add --default");
  return false;
}

}  // namespace quorin::device
