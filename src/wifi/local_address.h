#pragma once

#include "platform/network/interfaces.h"

#include <optional>
#include <span>
#include <string>
#include <vector>

namespace quorin::wifi {

/// An address at which a phone in the same network reaches this computer.
struct Candidate {
  std::string interface;  ///< as the system names it: "enp3s0"
  std::string address;    ///< dotted-decimal IPv4

  friend bool operator==(const Candidate&, const Candidate&) = default;
};

/// This computer's network addresses at one point in time.
struct LocalNetworks {
  /// In the system's order, except that those on the interface of the default route come first.
  std::vector<Candidate> candidates;
  /// Of all interfaces that are up, candidates or not.
  std::vector<network::Subnet> subnets;

  friend bool operator==(const LocalNetworks&, const LocalNetworks&) = default;
};

/// Candidates are up and running, on a wired or wireless interface, and neither loopback (127.)
/// nor link-local (169.254.) nor 0.0.0.0.
LocalNetworks localNetworks(std::span<const network::InterfaceAddress> interfaces,
                            const std::optional<std::string>& defaultRouteInterface);

/// The same for this machine now. Any thread; fast enough for the main thread.
LocalNetworks lookUpLocalNetworks();

/// The address to use: `current` (in use by phones) if still a candidate, else `wanted` (the user's
/// choice) if a candidate, else the first candidate.
std::optional<std::string> localIPv4Address(std::span<const Candidate> candidates,
                                            const std::optional<std::string>& current = {},
                                            const std::optional<std::string>& wanted = {});

}  // namespace quorin::wifi
