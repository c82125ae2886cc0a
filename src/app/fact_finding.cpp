#include "app/fact_finding.h"

#include "modes/audio_inputs.h"
#include "platform/audio/audio_backend.h"
#include "platform/dispatch/system_scheduler.h"
#include "platform/posix/file_descriptor.h"
#include "platform/usb/usb_hub.h"
#include "core/version.h"
#include "wifi/local_address.h"
#include "wifi/port_text.h"
#include "wire/client_key.h"

#include <sys/socket.h>

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>
#include <cerrno>
#include <system_error>

namespace quorin::app {
namespace {

/// The audio server answers soon after its libraries are loaded, the desktop's portal within 2 s.
constexpr std::chrono::seconds kPatience{3};
constexpr std::chrono::milliseconds kLookAgain{20};

void askForSound(Facts& facts) {
  const auto scheduler = dispatch::makeSystemScheduler();
  const auto server = audio::connectToAudioServer(scheduler->utilityQueue());
  const AudioInputs inputs(*scheduler, *server);

  QEventLoop loop;
  QTimer look;
  QObject::connect(&look, &QTimer::timeout, &loop, [&] {
    facts.devices = server->defaultDevices();
    facts.microphone = inputs.microphoneStatus();
    const bool answered = !facts.devices.server.empty() &&
                          facts.microphone != desktop::AuthorizationStatus::kNotDetermined;
    if (answered) loop.quit();
  });
  look.start(kLookAgain);
  QTimer::singleShot(kPatience, &loop, &QEventLoop::quit);
  loop.exec();
  scheduler->end();
  audio::resamplerBackend();  // ends the program as a recording would if it cannot be loaded
}

std::error_code portErrorOf(const QString& typed) {
  const auto port = wifi::parsePort(typed.toStdString());
  if (!port) return std::make_error_code(std::errc::invalid_argument);
  const posix::FileDescriptor socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  const auto address = wire::ClientKey{.address = INADDR_ANY, .port = *port}.socketAddress();
  if (socket &&
      ::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) {
    return {};
  }
  return {errno, std::generic_category()};
}

}  // namespace

Facts findFacts(const QString& port) {
  Facts facts;
  facts.version = version();
  facts.qtVersion = qVersion();
  facts.port = port.toStdString();
  facts.portError = portErrorOf(port);
  facts.addresses =
      network::listInterfaceAddresses().value_or(std::vector<network::InterfaceAddress>());
  const auto networks = wifi::localNetworks(facts.addresses, network::defaultRouteInterface());
  facts.chosenAddress = wifi::localIPv4Address(networks.candidates);
  facts.usbServiceAnswers = usb::usbServiceAnswers();
  facts.realtime = dispatch::tryRealtime();
  askForSound(facts);
  return facts;
}

}  // namespace quorin::app
