#include "app/diagnosis.h"
#include "core/identity.h"
#include "modes/audio_inputs.h"
#include "modes/cable_mode.h"
#include "platform/dispatch/system_scheduler.h"
#include "wifi/local_address.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>

namespace quorin::app {
namespace {

/// The audio server answers quickly, the desktop's portal within 2 s.
constexpr std::chrono::seconds kTimeout{3};
constexpr std::chrono::milliseconds kLookAgain{20};
constexpr int kSettled = 5;

void askForSoundAndCable(Facts& facts) {
  const auto scheduler = dispatch::makeSystemScheduler();
  const auto server = audio::connectToAudioServer(scheduler->backgroundQueue());
  const AudioInputs inputs(*scheduler, *server);
  CableMode cable(*scheduler, scheduler->mainQueue(), {[](auto&) {}, [](auto&, bool) {}});
  cable.start();

  QEventLoop loop;
  QTimer look;
  int settled = 0;  // polls since all answered: phones arrive later than the service's
  QObject::connect(&look, &QTimer::timeout, &loop, [&] {
    facts.devices = server->defaultDevices();
    facts.microphone = inputs.microphoneStatus();
    facts.cable = cable.state();
    const bool answered = facts.cable.service != usb::UsbService::kUnknown &&
                          !facts.devices.server.empty() &&
                          facts.microphone != desktop::AuthorizationStatus::kNotDetermined;
    if (answered && ++settled == kSettled) loop.quit();
  });
  look.start(kLookAgain);
  QTimer::singleShot(kTimeout, &loop, &QEventLoop::quit);
  loop.exec();
  scheduler->end();
}

}  // namespace

Facts findFacts(std::uint16_t port, const std::optional<std::string>& address) {
  Facts facts;
  facts.port = port;
  facts.portError = network::bindUdpPort(port);
  if (facts.portError == std::errc::address_in_use) {
    facts.portHolder = network::holderOfUdpPort(port, kProgramFile);
  }
  facts.addresses = network::listInterfaceAddresses();
  const auto networks = wifi::localNetworks(facts.addresses, network::defaultRouteInterface());
  facts.chosenAddress = wifi::localIPv4Address(networks.candidates, address);
  facts.realtime = dispatch::tryRealtime();
  askForSoundAndCable(facts);
  return facts;
}

}  // namespace quorin::app
