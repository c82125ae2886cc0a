#include "app/diagnosis.h"

#include "audio/device_guard.h"
#include "core/identity.h"
#include "core/version.h"

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

// The English sentence is the key of its translation.

Finding fine(const QString& found) {
  return {.found = found, .kind = Kind::kFine};
}

Finding problem(const QString& found, const char* advice) {
  return {.found = found, .kind = Kind::kProblem, .advice = qtTrId(advice)};
}

Finding hint(const QString& found, const QString& advice) {
  return {.found = found, .kind = Kind::kHint, .advice = advice};
}

Finding named(const char* name, Finding finding) {
  finding.name = qtTrId(name);
  return finding;
}

Finding audioServer(const Facts& facts) {
  if (!facts.devices.server.empty()) return fine(QString::fromStdString(facts.devices.server));
  return problem(qtTrId("none"),
                 "Start PulseAudio or PipeWire (with pipewire-pulse); the program looks for it by "
                 "itself.");
}

/// Both halves of the virtual device, whether they are default or not.
Finding virtualDevice(const Facts& facts) {
  const auto has = [](const std::vector<std::string>& names) {
    return std::ranges::any_of(names, [](const std::string& name) {
      return audio::isDefaultDeviceNamed({.number = 1, .name = name, .format = {}},
                                         audio::kExpectedDeviceName);
    });
  };
  const bool out = has(facts.devices.outputs);
  const bool in = has(facts.devices.inputs);
  if (out && in) return fine(qtTrId("output and input"));
  return hint(qtTrId(out  ? "output only"
                     : in ? "input only"
                          : "none"),
              qtTrId("Press \"Set up for me\" (or start with --set-up), which creates it."));
}

Finding device(const audio::Device& device, const char* advice) {
  const auto found = device.number == 0 ? qtTrId("none")
                     : device.name      ? QString::fromStdString(*device.name)
                                        : qtTrId("no name");
  const bool isRight = audio::isDefaultDeviceNamed(device, audio::kExpectedDeviceName);
  return isRight ? fine(found) : problem(found, advice);
}

Finding microphone(desktop::AuthorizationStatus status) {
  using enum desktop::AuthorizationStatus;
  if (status == kAuthorized) return fine(qtTrId("allowed"));
  if (status == kNotDetermined) {
    return problem(
        qtTrId("not answered yet"),
        "Answer the desktop's question, or allow the microphone in its privacy settings.");
  }
  return problem(qtTrId("not allowed"),
                 "Allow the microphone for Quorin Stream in the desktop's privacy settings.");
}

Finding address(const Facts& facts) {
  QStringList all;
  for (const auto& entry : facts.addresses) {
    const char* const state = !entry.isUp ? "off" : !entry.isRunning ? "no carrier" : nullptr;
    all << QString::fromStdString(entry.name + ' ' + entry.address) +
               (state ? QStringLiteral(" (%1)").arg(qtTrId(state)) : QString());
  }
  const auto known = all.isEmpty() ? qtTrId("no interface has one") : all.join(", ");
  if (facts.chosenAddress) {
    return fine(qtTrId("%1 of %2").arg(QString::fromStdString(*facts.chosenAddress), known));
  }
  return problem(qtTrId("none of %1").arg(known),
                 "Connect this computer to the phone's network, by Wi-Fi or by wire.");
}

Finding port(const Facts& facts) {
  const auto number = QString::number(facts.port);
  if (!facts.portError) return fine(qtTrId("%1, free").arg(number));
  if (facts.portError != std::errc::address_in_use) {
    return problem(number + ": " + QString::fromStdString(facts.portError.message()),
                   "Choose another, above 1023, with --port.");
  }
  const auto holder = facts.portHolder.value_or(network::PortHolder());
  if (holder.program == kProgramFile && holder.isOwnUser) {
    return fine(holder.peers == 1
                    ? qtTrId("%1: in use by the running Quorin Stream (1 phone)").arg(number)
                    : qtTrId("%1: in use by the running Quorin Stream (%2 phones)")
                          .arg(number)
                          .arg(holder.peers));
  }
  auto found = qtTrId("%1: in use").arg(number);
  if (!holder.program.empty())
    found += ' ' + qtTrId("by %1").arg(QString::fromStdString(holder.program));
  if (!holder.user.empty())
    found += ' ' + qtTrId("of user %1").arg(QString::fromStdString(holder.user));
  return problem(found, "End what holds it, or choose another with --port.");
}

Finding usbService(const CableState& state, const Texts& texts) {
  const auto status = cableStatus(state);
  if (state.service == usb::UsbService::kUnknown) {
    return hint(qtTrId("does not answer"), qtTrId("Only the cable needs it; restart it."));
  }
  const auto found = status == CableStatus::kServiceMissing ? qtTrId("not installed")
                     : status == CableStatus::kServiceStopped
                         ? qtTrId("not running")
                         : qtTrId("runs; phones: %1").arg(state.phones);
  // A paired phone: only the cable page checks for the app.
  if (status == CableStatus::kWaiting || state.connected) return fine(found);
  const auto advice = cableText(state, texts).replace(u'\n', u' ');
  return hint(found, qtTrId("Only the cable needs it. %1").arg(advice));
}

Finding realtime(dispatch::RealtimeGrant grant) {
  const auto found = qtTrId(dispatch::describe(grant).data());
  if (grant != dispatch::RealtimeGrant::kNone) return fine(found);
  return hint(found, qtTrId("For an even stream on a busy computer: install rtkit."));
}

const char* wordFor(Kind kind) {
  return std::array{"ok", "hint", "problem"}[static_cast<std::size_t>(kind)];
}

}  // namespace

std::vector<Finding> diagnose(const Facts& facts, const Texts& texts) {
  return {
      named("version", fine(QString::fromUtf8(version()) + ", Qt " + qVersion())),
      named("sound server", audioServer(facts)),
      named("virtual device", virtualDevice(facts)),
      named("default output",
            device(facts.devices.output,
                   "Press \"Set up for me\" (or start with --set-up), or make \"Quorin Audio\" the "
                   "default output in the sound settings.")),
      named("default input",
            device(facts.devices.input,
                   "Press \"Set up for me\" (or start with --set-up), or make \"Quorin Audio\" the "
                   "default input in the sound settings.")),
      named("microphone", microphone(facts.microphone)),
      named("address", address(facts)),
      named("port", port(facts)),
      named("USB service", usbService(facts.cable, texts)),
      named("real-time priority", realtime(facts.realtime)),
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
