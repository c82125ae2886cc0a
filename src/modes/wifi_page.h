#pragma once

#include "platform/network/udp_ports.h"
#include "ui/address_view.h"
#include "ui/picture.h"
#include "ui/texts.h"
#include "wifi/network_watch.h"
#include "wifi/udp_server.h"
#include "wire/control_message.h"

#include <QString>
#include <cstdint>
#include <optional>
#include <vector>

namespace quorin::app {

/// The content of the Wi-Fi page; its visibility is decided elsewhere.
struct WiFiPage {
  enum class Content {
    kCode,     ///< the code to scan, with the address and the status beneath
    kMessage,  ///< only the title, centred
    kProblem,  ///< the server does not listen: title, detail, and what to do about it
  };
  /// One dot.
  struct Phone {
    QString endpoint;
    QString description;

    bool operator==(const Phone&) const = default;
  };

  Content content = Content::kCode;
  QString title{};
  QString detail{};
  QString info{};  ///< the line above the dots
  std::vector<Phone> phones{};

  QString address{};  ///< where phones reach this computer; empty without a network
  std::vector<NetworkChoice> networks{};
  QString port = QString::number(wire::kDefaultPort);
  std::optional<std::uint16_t> otherPort{};  ///< of a problem: one that is free

  QString codeText{};  ///< the code's content: address, colon, port
  PicturePtr code{};   ///< none until there is something to encode

  bool operator==(const WiFiPage&) const = default;
};

/// Why the server did not start, the holder of the port, and a free one.
struct ServerProblem {
  wifi::StartFailure failure;
  bool isLookedUp = false;  ///< the rest is known
  std::optional<network::PortHolder> holder{};
  std::optional<std::uint16_t> otherPort{};
};

/// Input of the page's texts.
struct WiFiState {
  wifi::AddressStatus network = wifi::AddressStatus::kSettled;
  std::optional<std::string> address;
  std::vector<wifi::Candidate> candidates;
  QString port = QString::number(wire::kDefaultPort);
  bool isRunning = false;
  std::optional<ServerProblem> problem;
  std::vector<wifi::Client> clients;
  bool hasRefused = false;  ///< a phone was refused: the client limit is reached
};

/// The line above the dots.
QString statusText(const WiFiState& state, const Texts& texts);

/// The page without its code.
WiFiPage describe(const WiFiState& state, const Texts& texts);

}  // namespace quorin::app
