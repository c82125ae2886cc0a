#pragma once

#include "support/udp_peer.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace quorin::wifi {

/// A UDP port of this machine that is free at the moment.
inline std::uint16_t freePort() {
  return test::UdpPeer().endpoint().port;
}

/// A phone whose calls wait until the loopback interface has delivered.
class Phone : private test::UdpPeer {
 public:
  using UdpPeer::UdpPeer;

  void says(std::string_view datagram) {
    UdpPeer::says(datagram);
    awaitDelivery();
  }

  /// What has been sent to this phone since the last call, oldest first.
  std::vector<std::string> hears() {
    awaitDelivery();
    std::vector<std::string> all;
    while (auto datagram = heard()) all.push_back(*std::move(datagram));
    return all;
  }

  wire::Endpoint key() const { return endpoint(); }

 private:
  // Loopback keeps the order: once a later datagram has arrived, all earlier ones have.
  static void awaitDelivery() {
    UdpPeer receiver;
    UdpPeer(receiver.endpoint()).says("marker");
    ASSERT_EQ(receiver.hears(), "marker") << "the loopback interface delivers nothing";
  }
};

}  // namespace quorin::wifi
