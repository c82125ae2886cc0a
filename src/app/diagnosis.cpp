#include "app/diagnosis.h"

#include "audio/device_guard.h"
#include "core/identity.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>
#include <algorithm>
#include <array>
#include <utility>

namespace quorin::app {
namespace {

using Kind = Finding::Kind;

QString text(std::string_view utf8) {
  return QString::fromUtf8(utf8.data(), static_cast<qsizetype>(utf8.size()));
}

// The English sentence is the key of its translation.

Finding fine(const char* name, const QString& found) {
  return {.name = qtTrId(name), .found = found, .kind = Kind::kFine, .advice = {}};
}

Finding problem(const char* name, const QString& found, const char* advice) {
  return {.name = qtTrId(name), .found = found, .kind = Kind::kProblem, .advice = qtTrId(advice)};
}

Finding hint(const char* name, const QString& found, const QString& advice) {
  return {.name = qtTrId(name), .found = found, .kind = Kind::kHint, .advice = advice};
}

Finding audioServer(const Facts& facts) {
  constexpr auto kName = "audio server";
  if (!facts.devices.server.empty()) return fine(kName, text(facts.devices.server));
  return problem(kName, qtTrId("none"),
                 "Start PulseAudio or PipeWire (with pipewire-pulse); the program looks for it by "
                 "itself.");
}

/// Both halves of the virtual device, whether they are default or not.
Finding virtualDevice(const Facts& facts) {
  constexpr auto kName = "virtual device";
  const auto has = [](const std::vector<std::string>& names) {
    return std::ranges::any_of(names, [](const std::string& name) {
      return audio::isDefaultDeviceNamed({.number = 1, .name = name, .format = {}},
                                         audio::kExpectedDeviceName);
    });
  };
  const bool out = has(facts.devices.outputs);
  const bool in = has(facts.devices.inputs);
  if (out && in) return fine(kName, qtTrId("output and input"));
  return hint(kName,
              qtTrId(out  ? "output only"
                     : in ? "input only"
                          : "none"),
              qtTrId("Press \"Set up for me\" (or start with --set-up), which creates it."));
}

Finding device(const char* name, const audio::Device& device, const char* advice) {
  const auto found = device.number == 0 ? qtTrId("none")
                     : device.name      ? text(*device.name)
                                        : qtTrId("no name");
  const bool isRight = audio::isDefaultDeviceNamed(device, audio::kExpectedDeviceName);
  return isRight ? fine(name, found) : problem(name, found, advice);
}

Finding microphone(desktop::AuthorizationStatus status) {
  constexpr auto kName = "microphone";
  using Status = desktop::AuthorizationStatus;
  switch (status) {
    case Status::kAuthorized:
      return fine(kName, qtTrId("allowed"));
    case Status::kNotDetermined:
      return problem(
          kName, qtTrId("not answered yet"),
          "Answer the desktop's question, or allow the microphone in its privacy settings.");
    case Status::kRestricted:
    case Status::kDenied:
      break;
  }
  return problem(kName, qtTrId("not allowed"),
                 "Allow the microphone for Quorin Stream in the desktop's privacy settings.");
}

Finding address(const Facts& facts) {
  constexpr auto kName = "address";
  QStringList all;
  for (const auto& entry : facts.addresses) {
    const char* const state = !entry.isUp ? "off" : !entry.isRunning ? "no carrier" : nullptr;
    all << text(entry.name + ' ' + entry.address) +
               (state ? QStringLiteral(" (%1)").arg(qtTrId(state)) : QString());
  }
  const auto known = all.isEmpty() ? qtTrId("no interface has one") : all.join(", ");
  if (facts.chosenAddress) {
    return fine(kName, qtTrId("%1 of %2").arg(text(*facts.chosenAddress), known));
  }
  return problem(kName, qtTrId("none of %1").arg(known),
                 "Connect this computer to the phone's network, by Wi-Fi or by wire.");
}

Finding port(const Facts& facts) {
  constexpr auto kName = "port";
  const auto number = QString::number(facts.port);
  if (!facts.portError) return fine(kName, qtTrId("%1, free").arg(number));
  if (facts.portError != std::errc::address_in_use) {
    return problem(kName, number + ": " + text(facts.portError.message()),
                   "Choose another, above 1023, with --port.");
  }
  const auto holder = facts.portHolder.value_or(network::PortHolder());
  if (holder.program == kProgramFile && holder.isOwnUser) {
    return fine(kName, holder.peers == 1
                           ? qtTrId("%1: in use by the running Quorin Stream (1 phone)").arg(number)
                           : qtTrId("%1: in use by the running Quorin Stream (%2 phones)")
                                 .arg(number)
                                 .arg(holder.peers));
  }
  auto found = qtTrId("%1: in use").arg(number);
  if (!holder.program.empty()) found += ' ' + qtTrId("by %1").arg(text(holder.program));
  if (!holder.user.empty()) found += ' ' + qtTrId("of user %1").arg(text(holder.user));
  return problem(kName, found, "End what holds it, or choose another with --port.");
}

Finding usbService(const CableState& state) {
  constexpr auto kName = "USB service";
  const auto onlyCable = [](const QString& found, const QString& advice) {
    return hint(kName, found, qtTrId("Only the cable needs it: %1").arg(advice));
  };
  const auto command = text(state.remedy.command);
  const auto phones = qtTrId("runs; phones: %1").arg(state.phones);
  switch (cableStatus(state)) {
    case CableStatus::kServiceMissing:
      return onlyCable(qtTrId("not installed"), command);
    case CableStatus::kServiceStopped:
      return onlyCable(qtTrId("not running"),
                       qtTrId("connect the iPhone, which starts it, else %1").arg(command));
    case CableStatus::kNoPhone:
      return onlyCable(
          phones, qtTrId("use a cable that carries data, unlock the iPhone and tap \"Trust\"."));
    case CableStatus::kPhoneLocked:
      return onlyCable(phones, qtTrId("unlock the iPhone and tap \"Trust\"."));
    case CableStatus::kWaiting:
      if (state.service == usb::UsbService::kUnknown) {
        return onlyCable(qtTrId("does not answer"), qtTrId("restart it."));
      }
      break;  // paired: only the cable page checks for the app
    case CableStatus::kAppClosed:
      return onlyCable(phones, qtTrId("open the app on the iPhone."));
    case CableStatus::kConnected:
    case CableStatus::kAppSilent:
      break;
  }
  return fine(kName, phones);
}

Finding realtime(dispatch::RealtimeGrant grant) {
  constexpr auto kName = "real-time priority";
  const auto found = qtTrId(dispatch::describe(grant).data());
  if (grant != dispatch::RealtimeGrant::kNone) return fine(kName, found);
  return hint(kName, found, qtTrId("For an even stream on a busy computer: install rtkit."));
}

const char* wordFor(Kind kind) {
  return std::array{"ok", "hint", "problem"}[static_cast<std::size_t>(kind)];
}

}  // namespace

std::vector<Finding> diagnose(const Facts& facts) {
  return {
      fine("version", text(facts.version) + ", Qt " + text(facts.qtVersion)),
      audioServer(facts),
      virtualDevice(facts),
      device(
          "default output", facts.devices.output,
          "Press \"Set up for me\" (or start with --set-up), or make \"Quorin Audio\" the default "
          "output in the sound settings."),
      device(
          "default input", facts.devices.input,
          "Press \"Set up for me\" (or start with --set-up), or make \"Quorin Audio\" the default "
          "input in the sound settings."),
      microphone(facts.microphone),
      address(facts),
      port(facts),
      usbService(facts.cable),
      realtime(facts.realtime),
  };
}

bool wouldStream(const std::vector<Finding>& findings) {
  return std::ranges::none_of(
      findings, [](const Finding& finding) { return finding.kind == Kind::kProblem; });
}

QString asText(const std::vector<Finding>& findings) {
  QString lines;
  for (const auto& finding : findings) {
    lines += QStringLiteral("%1 %2 %3\n")
                 .arg(qtTrId(wordFor(finding.kind)), -8)
                 .arg(finding.name, -20)
                 .arg(finding.found);
    if (!finding.advice.isEmpty()) lines += QStringLiteral("         -> %1\n").arg(finding.advice);
  }
  return lines +
         qtTrId(wouldStream(findings) ? "Streaming over Wi-Fi would work."
                                      : "Streaming would not work yet.") +
         '\n';
}

QByteArray asJson(const std::vector<Finding>& findings) {
  QJsonArray list;
  for (const auto& finding : findings) {
    QJsonObject object{
        {"name", finding.name}, {"found", finding.found}, {"verdict", wordFor(finding.kind)}};
    if (!finding.advice.isEmpty()) object["advice"] = finding.advice;
    list.append(object);
  }
  return QJsonDocument(QJsonObject{{"would_stream", wouldStream(findings)}, {"findings", list}})
      .toJson();
}

}  // namespace quorin::app
