#pragma once

#include "modes/cable_status.h"
#include "platform/audio/devices.h"
#include "platform/desktop/authorization_status.h"
#include "platform/dispatch/realtime.h"
#include "platform/network/interfaces.h"
#include "platform/network/udp_ports.h"

#include <QByteArray>
#include <QString>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

/// What `--diagnose` tells: everything that streaming needs, as this machine has it, with one line
/// of advice for each problem. In the language of the translator that the
/// application has installed, English without one.
namespace quorin::app {

/// What was found, before anybody judges it.
struct Facts {
  std::string version;
  std::string qtVersion;
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

/// Asks this machine, with the port to listen on and the user's choice of address. Needs a
/// QCoreApplication, whose events it lets run meanwhile; takes at most some seconds.
Facts findFacts(std::uint16_t port, const std::optional<std::string>& address);

struct Finding {
  /// A hint costs quality or the cable; a problem is in the way of streaming over Wi-Fi.
  enum class Kind : std::uint8_t { kFine, kHint, kProblem };

  QString name;
  QString found;
  Kind kind = Kind::kFine;
  QString advice;  ///< empty when all is fine
};

std::vector<Finding> diagnose(const Facts& facts);

/// True when nothing is in the way.
bool wouldStream(const std::vector<Finding>& findings);

QString asText(const std::vector<Finding>& findings);
QByteArray asJson(const std::vector<Finding>& findings);

}  // namespace quorin::app
