#pragma once

#include "modes/cable_status.h"
#include "platform/audio/devices.h"
#include "platform/desktop/microphone_rules.h"
#include "platform/dispatch/realtime.h"
#include "platform/network/interfaces.h"
#include "platform/network/udp_ports.h"

#include <QByteArray>
#include <QString>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

/// What `--diagnose` prints: each requirement of streaming as found on this machine, with one line
/// of advice for each problem. In the language of the translator that the application has
/// installed, English without one.
namespace quorin::app {

/// The raw findings; `diagnose` judges them.
struct Facts {
  audio::DefaultDevices devices;
  desktop::AuthorizationStatus microphone = desktop::AuthorizationStatus::kNotDetermined;
  std::vector<network::InterfaceAddress> addresses;
  std::optional<std::string> chosenAddress;
  std::uint16_t port = 0;
  std::error_code portError;                      ///< none: it can be bound
  std::optional<network::PortHolder> portHolder;  ///< of a port in use
  CableState cable;
  dispatch::RealtimeGrant realtime = dispatch::RealtimeGrant::kNone;
};

/// Examines this machine for the given port and the user's choice of address. Needs a
/// QCoreApplication, whose events it processes meanwhile; takes a few seconds at most.
Facts findFacts(std::uint16_t port, const std::optional<std::string>& address);

struct Finding {
  /// A hint affects quality or the cable mode; a problem prevents streaming over Wi-Fi.
  enum class Kind : std::uint8_t { kFine, kHint, kProblem };

  QString name{};
  QString found{};
  Kind kind = Kind::kFine;
  QString advice{};  ///< empty when all is fine
};

std::vector<Finding> diagnose(const Facts& facts, const Texts& texts);

/// True when there is no problem.
bool wouldStream(const std::vector<Finding>& findings);

QString asText(const std::vector<Finding>& findings);
QByteArray asJson(const std::vector<Finding>& findings);

}  // namespace quorin::app
