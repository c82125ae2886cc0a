#pragma once

#include "platform/dispatch/system_scheduler.h"
#include "platform/posix/file_descriptor.h"
#include "stream/audio_sender.h"
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

/// Moves this process, the computer, into a network of its own, with no wire yet. False where the
/// system does not allow it. Before any thread is started; root's `ip` is needed too.
bool enterField();

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

/// `ip ARGUMENTS` on the computer; throws when that fails.
void ip(const std::string& arguments);

/// A phone's app, connected to the server as most are: it takes nothing from another address. Does
/// something only in `turn`.
class Phone {
 public:
  Phone(const Place& place, const std::string& own, const std::string& server);

  void says(std::string_view text);
  void turn();
  /// How many audio datagrams came in `duration` from the first one on.
  std::size_t heardWithin(std::chrono::seconds duration) const;
  /// The app ends; its port is closed.
  void closes() { socket_.reset(); }

  std::vector<std::string> messages;
  /// Of the audio datagrams: when each came, and the TOS byte of the last.
  std::vector<std::chrono::nanoseconds> arrivals;
  int trafficClass = -1;

 private:
  posix::FileDescriptor socket_;
};

/// A datagram with any source that one likes, sent from where this is called.
void sendForged(const wire::Endpoint& source, const wire::Endpoint& to, std::string_view text);

/// The server, the pacing and the watch as the program has them, with a chunk of sound every 20 ms.
class Computer : private wifi::UdpServerListener, private wifi::NetworkWatchListener {
 public:
  static constexpr std::uint16_t kPort = 9000;

  Computer();
  ~Computer() override;

  /// Lets the computer and the phones run until the condition holds; false when it does not in
  /// time.
  bool until(const std::function<bool()>& condition,
             std::chrono::milliseconds limit = std::chrono::seconds(5));
  void runFor(std::chrono::milliseconds duration);

  Phone& newPhone(const Place& place, const std::string& own,
                  const std::string& server = "10.11.0.2");
  /// The same, and it has joined.
  Phone& newClient(const Place& place, const std::string& own,
                   const std::string& server = "10.11.0.2");

  wifi::UdpServer& server() { return server_; }
  wifi::NetworkWatch& watch() { return watch_; }

  std::vector<std::unique_ptr<Phone>> phones;
  std::vector<std::string> news;  ///< what the watch reported

 private:
  void onStarted() override {}
  void onStartFailed(const wifi::StartFailure& failure) override;
  void onStopped() override {}
  void onClientsChanged() override {}
  void onNetworksChanged(const wifi::LocalNetworks& networks) override;
  void onAddressLost() override { news.emplace_back("lost"); }
  void onAddressBack(const std::string& address) override { news.push_back("back " + address); }
  void onAddressChanged(const std::string& address) override {
    news.push_back("changed " + address);
  }
  void onNetworkChangeSettled(const std::string&) override {}

  std::unique_ptr<dispatch::Scheduler> scheduler_ = dispatch::makeSystemScheduler();
  wifi::WifiTransport transport_;
  std::unique_ptr<dispatch::SerialQueue> queue_ = stream::AudioSender::makeQueue(*scheduler_);
  stream::AudioSender sender_{*scheduler_, *queue_, {&transport_}};
  wifi::UdpServer server_{*scheduler_, sender_, transport_, *this};
  wifi::NetworkWatch watch_{*scheduler_, wifi::lookUpLocalNetworks, *this};
  std::jthread capture_;
};

}  // namespace quorin::field
