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

Finding fine(const char* name, const QString& found) {
  return {.name = name, .found = found, .kind = Kind::kFine, .advice = {}};
}

Finding audioServer(const Facts& facts) {
  constexpr auto kName = "audio server";
  if (!facts.devices.server.empty()) return fine(kName, text(facts.devices.server));
  return {
      kName, "none", Kind::kProblem,
      "Start PulseAudio or PipeWire (with pipewire-pulse); the program looks for it by itself."};
}

Finding device(const char* name, const audio::Device& device, const char* kind) {
  const auto found = text(audio::currentDeviceName(device));
  if (audio::isDefaultDeviceNamed(device, audio::kExpectedDeviceName)) return fine(name, found);
  return {
      name, found, Kind::kProblem,
      QStringLiteral("Press \"Set up for me\" (or start with --set-up), or make \"Quorin Audio\" "
                     "the default %1 in the sound settings.")
          .arg(kind)};
}

Finding microphone(desktop::AuthorizationStatus status) {
  constexpr auto kName = "microphone";
  using Status = desktop::AuthorizationStatus;
  switch (status) {
    case Status::kAuthorized:
      return fine(kName, "allowed");
    case Status::kNotDetermined:
      return {kName, "not answered yet", Kind::kProblem,
              "Answer the desktop's question, or allow the microphone in its privacy settings."};
    case Status::kRestricted:
    case Status::kDenied:
      break;
  }
  return {kName, "not allowed", Kind::kProblem,
          "Allow the microphone for Quorin Stream in the desktop's privacy settings."};
}

Finding address(const Facts& facts) {
  constexpr auto kName = "address";
  QStringList all;
  for (const auto& entry : facts.addresses) {
    all << text(entry.name + ' ' + entry.address +
                (!entry.isUp        ? " (off)"
                 : !entry.isRunning ? " (no carrier)"
                                    : ""));
  }
  const auto known = all.isEmpty() ? QStringLiteral("no interface has one") : all.join(", ");
  if (facts.chosenAddress) return fine(kName, text(*facts.chosenAddress) + " of " + known);
  return {kName, "none of " + known, Kind::kProblem,
          "Connect this computer to the phone's network, by Wi-Fi or by wire."};
}

Finding port(const Facts& facts) {
  constexpr auto kName = "port";
  const auto number = QString::number(facts.port);
  if (!facts.portError) return fine(kName, number + ", free");
  if (facts.portError != std::errc::address_in_use) {
    return {kName, number + ": " + text(facts.portError.message()), Kind::kProblem,
            "Choose another, above 1023, with --port."};
  }
  const auto holder = facts.portHolder.value_or(network::PortHolder());
  if (holder.program == kProgramFile && holder.isOwnUser) {
    return fine(kName, QStringLiteral("%1: in use by the running Quorin Stream (%2 %3)")
                           .arg(number)
                           .arg(holder.peers)
                           .arg(holder.peers == 1 ? "phone" : "phones"));
  }
  auto found = number + ": in use";
  if (!holder.program.empty()) found += " by " + text(holder.program);
  if (!holder.user.empty()) found += " of user " + text(holder.user);
  return {kName, found, Kind::kProblem, "End what holds it, or choose another with --port."};
}

Finding usbService(const CableState& state) {
  constexpr auto kName = "USB service";
  const auto hint = [](const QString& found, const QString& advice) {
    return Finding{kName, found, Kind::kHint, "Only the cable needs it: " + advice};
  };
  const auto phones = QStringLiteral("runs; phones: %1").arg(state.phones);
  switch (cableStatus(state)) {
    case CableStatus::kServiceMissing:
      return hint("not installed", text(state.remedy.command));
    case CableStatus::kServiceStopped:
      return hint("not running",
                  "connect the iPhone, which starts it, else " + text(state.remedy.command));
    case CableStatus::kNoPhone:
      return hint(phones, "use a cable that carries data, unlock the iPhone and tap \"Trust\".");
    case CableStatus::kPhoneLocked:
      return hint(phones, "unlock the iPhone and tap \"Trust\".");
    default:
      if (state.service == usb::UsbService::kUnknown) return hint("does not answer", "restart it.");
      return hint(phones, "open the app on the iPhone.");
  }
}

Finding realtime(dispatch::RealtimeGrant grant) {
  constexpr auto kName = "real-time priority";
  const auto found = text(dispatch::describe(grant));
  if (grant != dispatch::RealtimeGrant::kNone) return fine(kName, found);
  return {kName, found, Kind::kHint, "For an even stream on a busy computer: install rtkit."};
}

const char* wordFor(Kind kind) {
  return std::array{"ok", "hint", "problem"}[static_cast<std::size_t>(kind)];
}

}  // namespace

std::vector<Finding> diagnose(const Facts& facts) {
  return {
      fine("version", text(facts.version) + ", Qt " + text(facts.qtVersion)),
      audioServer(facts),
      device("default output", facts.devices.output, "output"),
      device("default input", facts.devices.input, "input"),
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
                 .arg(wordFor(finding.kind), -8)
                 .arg(finding.name, -20)
                 .arg(finding.found);
    if (!finding.advice.isEmpty()) lines += QStringLiteral("         -> %1\n").arg(finding.advice);
  }
  lines += wouldStream(findings) ? "Streaming over Wi-Fi would work.\n"
                                 : "Streaming would not work yet.\n";
  return lines;
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
