#pragma once

#include "platform/dispatch/system_scheduler.h"
#include "platform/posix/file_descriptor.h"
#include "stream/audio_sender.h"
#include "support/own_network.h"
#include "support/phone.h"
#include "wifi/network_watch.h"
#include "wifi/udp_server.h"
#include "wire/endpoint.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

/// A computer and phones in networks of their own, joined by wires: what loopback hides.
namespace quorin::field {

/// A network beside the computer's, for phones.
class Place {
 public:
  Place();

  /// Runs the work on a thread that is in there, and waits for it. Sockets stay where they are
  /// made.
  void run(const std::function<void()>& work) const;
  /// `ip ARGUMENTS`, in words.
  void ip(const std::string& arguments) const;

  /// A wire from the computer's interface `here` to the interface `there` of this place; both up.
  void wireTo(const std::string& here, const std::string& there) const;

 private:
  posix::FileDescriptor network_;
};

using test::ip;
using test::Phone;

/// A datagram with any source that one likes, sent from where this is called.
void sendForged(const wire::Endpoint& source, const wire::Endpoint& to, std::string_view text);

/// The server, the pacing and the watch as the program has them, with a chunk of sound every 20 ms.
class Computer : public test::TurnLoop {
 public:
  Computer();
  ~Computer();

  Phone& newPhone(const Place& place, const std::string& own,
                  const std::string& server = "10.11.0.2");
  /// The same, and it has joined.
  Phone& newClient(const Place& place, const std::string& own,
                   const std::string& server = "10.11.0.2");

  wifi::UdpServer& server() { return server_; }
  wifi::NetworkWatch& watch() { return watch_; }

 private:
  std::unique_ptr<dispatch::Scheduler> scheduler_ = dispatch::makeSystemScheduler();
  wifi::WifiTransport transport_;
  std::unique_ptr<dispatch::SerialQueue> queue_ = stream::AudioSender::makeQueue(*scheduler_);
  stream::AudioSender sender_{*scheduler_, *queue_, {&transport_}};
  wifi::UdpServer server_{*scheduler_, sender_, transport_, [] {}};
  wifi::NetworkWatch watch_{
      *scheduler_,
      wifi::lookUpLocalNetworks,
      {.networksChanged = [this] { server_.setOwnNetworks(watch_.networks().subnets); },
       .addressChanged = [](wifi::AddressStatus) {}}};
  std::jthread capture_;
};

}  // namespace quorin::field
