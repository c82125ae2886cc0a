#include "modes/wifi_mode.h"

#include "ui/qr_picture.h"
#include "core/log.h"
#include "wifi/port_text.h"

#include <string>
#include <utility>

namespace quorin::app {
namespace {

constexpr auto kLogArea = "wifi";
constexpr double kCodePoints = 300;  // as large as its view

}  // namespace

WiFiMode::WiFiMode(dispatch::Scheduler& scheduler, Parts parts)
    : scheduler_(scheduler),
      parts_(std::move(parts)),
      server_(scheduler, parts_.sender, parts_.transport, *this),
      watch_(scheduler, parts_.lookUpNetworks, *this) {}

WiFiMode::~WiFiMode() = default;

void WiFiMode::enter() {
  open_ = true;
  parts_.view.openWiFiPage();
  page_.networkMessage = false;
  page_.info = parts_.texts.bundle("waiting_connection");

  watch_.startIPWatch();
  if (const auto& address = watch_.address()) {
    page_.address = QString::fromStdString(*address);
    if (page_.port.isEmpty()) page_.port = QString::number(wire::kDefaultPort);
    if (!server_.isRunning()) startUDP();
    parts_.sound.start();
    openQRHelp();
    show();
  } else {
    page_.address.clear();
    showNetworkMessage(parts_.texts.bundle("network.unavailable"));
  }
}

void WiFiMode::leave() {
  open_ = false;
  whileOpen_.cancelAll();
  refreshPosted_ = false;
  if (server_.isRunning()) server_.stopUDP();
  watch_.stopIPWatch();
}

void WiFiMode::startUDP() {
  server_.startUDP(page_.port.toStdString());
}

// A server that is not running is started too: the page is open and shows an address, so somebody
// may scan it.
void WiFiMode::restartUDP() {
  if (server_.isRunning()) {
    server_.restartUDPForNetworkChange(page_.port.toStdString());
  } else {
    startUDP();
  }
}

void WiFiMode::silentReenterOnlineMode() {
  parts_.cable.turnOff();
  scheduler_.mainQueue().async(whileOpen_, [this] { reenterPage(); });
}

// The page is open already, unless something else has taken its place meanwhile.
void WiFiMode::reenterPage() {
  page_.networkMessage = false;
  page_.info = parts_.texts.bundle("waiting_connection");
  page_.address = QString::fromStdString(watch_.address().value_or(std::string()));
  if (page_.port.isEmpty()) page_.port = QString::number(wire::kDefaultPort);
  restartUDP();
  parts_.sound.start();
  openQRHelp();
  show();
  parts_.cable.clearForcedOffline();
}

void WiFiMode::openQRHelp() {
  const int port = wifi::leadingInteger(page_.port.toStdString());
  if (page_.address.isEmpty() || port <= 0) {
    parts_.view.presentMessage(parts_.texts.tr("qr.input.invalid"), true);
    return;
  }
  const auto text = page_.address + QLatin1Char(':') + QString::number(port);
  auto code = generateQRCodeFromString(text, kCodePoints);
  if (!code) {
    parts_.view.presentMessage(parts_.texts.tr("qr.generate.failed"), true);
    return;
  }
  page_.codeText = text;
  page_.code = std::move(code);
  show();
}

void WiFiMode::onStarted() {
  log::detail(kLogArea, "the server listens");
  serverProblem_.clear();
  page_.info = parts_.texts.bundle("waiting_connection");
  page_.clients = 0;
}

QString WiFiMode::failureText(const wifi::StartFailure& failure) const {
  using Step = wifi::StartFailure::Step;
  switch (failure.step) {
    case Step::kPort:
      return parts_.texts.tr("udp.port.invalid");
    case Step::kSocket:
      return parts_.texts.tr("udp.socket.create_failed");
    case Step::kBind:
      break;
  }
  return parts_.texts.tr("udp.port.bind_failed");
}

void WiFiMode::onStartFailed(const wifi::StartFailure& failure) {
  const auto text = failureText(failure);
  parts_.view.presentMessage(text, true);
  serverProblem_ = failure.step == wifi::StartFailure::Step::kPort
                       ? QStringLiteral("Introduce un puerto válido")
                       : text;
  page_.clients = 0;
  page_.info = serverProblem_;
}

void WiFiMode::onStopped() {
  log::detail(kLogArea, "the server has stopped");
  page_.info = QStringLiteral("Transmisión detenida.");
  page_.clients = 0;
  show();
  updateUIForUDPDisconnected();
}

void WiFiMode::updateUIForUDPDisconnected() {
  if (std::exchange(refreshPosted_, true)) return;
  scheduler_.mainQueue().async(whileOpen_, [this] {
    refreshPosted_ = false;
    refreshOnlineStatusMessage();
  });
}

void WiFiMode::refreshOnlineStatusMessage() {
  const auto before = std::exchange(page_.clients, server_.clientCount());
  if (page_.clients != before) {
    log::detail(kLogArea, std::to_string(page_.clients) + " clients");
  }
  if (!serverProblem_.isEmpty()) {
    page_.info = serverProblem_;
  } else if (parts_.sound.isSilent()) {
    page_.info = parts_.texts.tr("status.silent");
  } else if (page_.clients == 0) {
    page_.info = parts_.texts.bundle("waiting_connection");
  } else if (page_.clients == 1) {
    page_.info = parts_.texts.tr("status.connected.one");
  } else {
    page_.info = parts_.texts.tr("status.connected.many", static_cast<int>(page_.clients));
  }
  show();
}

void WiFiMode::showNetworkMessage(const QString& title) {
  page_.networkMessage = true;
  page_.title = title;
  show();
}

void WiFiMode::onNetworksChanged(const wifi::LocalNetworks& networks) {
  server_.setOwnNetworks(networks.subnets);
}

void WiFiMode::onAddressLost() {
  log::detail(kLogArea, "the network is lost");
  showNetworkMessage(parts_.texts.bundle("network.unavailable"));
}

void WiFiMode::onAddressBack(const std::string&) {
  log::detail(kLogArea, "the network is back");
  showNetworkMessage(parts_.texts.bundle("network.available") + QLatin1Char('\n') +
                     parts_.texts.bundle("network.generating_qr_in_seconds",
                                         wifi::NetworkWatch::kSettlingAfterReturn.count()));
  silentReenterOnlineMode();
}

void WiFiMode::onAddressChanged(const std::string& address) {
  log::detail(kLogArea, "the address has changed");
  page_.address = QString::fromStdString(address);
  showNetworkMessage(parts_.texts.bundle("network.change_detected") + QLatin1Char('\n') +
                     parts_.texts.bundle("network.generating_qr_in_seconds",
                                         wifi::NetworkWatch::kSettlingAfterChange.count()));
  silentReenterOnlineMode();
}

void WiFiMode::onNetworkChangeSettled(const std::string&) {
  restartUDP();
  openQRHelp();
  page_.networkMessage = false;
  refreshOnlineStatusMessage();
}

}  // namespace quorin::app
