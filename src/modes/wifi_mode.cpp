#include "modes/wifi_mode.h"

#include "core/identity.h"
#include "core/log.h"
#include "ui/qr_code.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <limits>
#include <string>
#include <utility>

namespace quorin::app {
namespace {

constexpr auto kLogArea = "wifi";
constexpr double kCodePoints = 300;  // as large as its view

/// For the log, by `AddressStatus`.
constexpr const char* kNetworkNews[] = {"the network has settled", "the network is lost",
                                        "the network is back", "the address has changed"};

}  // namespace

ServerProblem WiFiMode::lookUpPort(wifi::StartFailure failure) {
  const bool isInUse = failure.error == EADDRINUSE;
  ServerProblem problem{.failure = failure, .isLookedUp = true};
  if (isInUse) {
    problem.holder = network::holderOfUdpPort(failure.port, kProgramFile);
    problem.otherPort = network::freeUdpPortFrom(failure.port + 1);
  }
  if (!problem.otherPort) problem.otherPort = network::freeUdpPortFrom(wire::kDefaultPort);
  return problem;
}

WiFiMode::WiFiMode(dispatch::Scheduler& scheduler, Parts parts)
    : scheduler_(scheduler),
      parts_(std::move(parts)),
      server_(scheduler, parts_.sender, parts_.transport, [this] { refreshOnlineStatusMessage(); }),
      watch_(scheduler, parts_.lookUpNetworks,
             {.networksChanged = [this] { onNetworksChanged(); },
              .addressChanged = [this](wifi::AddressStatus status) { onAddressChanged(status); }}) {
}

void WiFiMode::enter() {
  open_ = true;
  parts_.window.open(Page::kWifi);
  watch_.startIPWatch();
  if (watch_.address()) {
    if (!server_.isRunning()) startUDP();
    stream();
  } else {
    state_.network = wifi::AddressStatus::kLost;
    refreshOnlineStatusMessage();
  }
}

void WiFiMode::leave() {
  open_ = false;
  whileOpen_.cancelAll();
  retryTimer_.reset();
  state_.problem.reset();
  stopUDP();
  log::detail(kLogArea, std::to_string(server_.ignoredDatagrams()) + " datagrams ignored so far");
}

void WiFiMode::stopUDP() {
  if (!server_.isRunning()) return;
  server_.stopUDP();
  refreshOnlineStatusMessage();
}

/// Shared by page entry and re-entry, after the server's start.
void WiFiMode::stream() {
  state_.network = wifi::AddressStatus::kSettled;
  parts_.sound.start();
  openQRHelp();
  refreshOnlineStatusMessage();
}

// The page is already open; leaving it drops the task.
void WiFiMode::silentReenterOnlineMode() {
  parts_.cable.turnOff();
  scheduler_.mainQueue().async(whileOpen_, [this] {
    restartUDP();
    stream();
    parts_.cable.clearForcedOffline();
  });
}

/// 0 if there is none.
int WiFiMode::portNumber() const {
  const long long number = std::strtoll(qPrintable(state_.port), nullptr, 10);
  return static_cast<int>(std::clamp<long long>(number, 0, std::numeric_limits<int>::max()));
}

void WiFiMode::openQRHelp() {
  if (state_.port.isEmpty()) state_.port = QString::number(wire::kDefaultPort);
  const int port = portNumber();
  if (!watch_.address() || port == 0) {
    parts_.window.presentMessage(parts_.texts.tr("qr.input.invalid"), true);
    return;
  }
  const auto text = QString::fromStdString(*watch_.address() + ':' + std::to_string(port));
  if (code_ && text == codeText_) return;
  auto code = generateQRCodeFromString(text, kCodePoints);
  if (!code) {
    parts_.window.presentMessage(parts_.texts.tr("qr.generate.failed"), true);
    return;
  }
  codeText_ = text;
  code_ = std::move(code);
}

void WiFiMode::onStarted(const wifi::UdpServer::Started& started) {
  if (started) {
    log::detail(kLogArea, "the server listens");
    state_.problem.reset();
    retryTimer_.reset();
    return;
  }
  const auto failure = started.error();
  const bool isPort = failure.step == wifi::StartFailure::Step::kPort;
  if (!state_.problem || state_.problem->failure != failure) {  // not a retry with the same result
    state_.problem = ServerProblem{.failure = failure};
    parts_.window.presentMessage(
        isPort ? parts_.texts.tr("udp.port.invalid") : statusText(state_, parts_.texts), true);
  }
  auto report = whileOpen_.bind([this, failure](ServerProblem problem) {
    if (!state_.problem || state_.problem->failure != failure) return;
    state_.problem = std::move(problem);
    refreshOnlineStatusMessage();
  });
  scheduler_.backgroundQueue().async([&main = scheduler_.mainQueue(), lookUp = parts_.lookUpPort,
                                      failure, report = std::move(report)]() mutable {
    main.async([problem = lookUp(failure), report = std::move(report)]() mutable {
      report(std::move(problem));
    });
  });
  if (isPort || retryTimer_) return;
  retryTimer_ = scheduler_.mainQueue().makeTimer(
      {.first = kRetryInterval, .interval = kRetryInterval}, [this] { retry(); });
}

void WiFiMode::retry() {
  if (server_.isRunning() || !watch_.address()) return;
  startUDP();
  server_.isRunning() ? stream() : refreshOnlineStatusMessage();
}

void WiFiMode::useOtherPort() {
  if (!state_.problem || !state_.problem->otherPort) return;
  setPort(QString::number(*state_.problem->otherPort));
}

void WiFiMode::setPort(const QString& port) {
  stopUDP();
  state_.port = port;
  if (open_) retry();
}

void WiFiMode::chooseNetwork(const QString& address) {
  watch_.choose(address.toStdString());
  if (open_) showAddress();
}

void WiFiMode::showAddress() {
  if (watch_.address() && portNumber() != 0) openQRHelp();
  refreshOnlineStatusMessage();
}

void WiFiMode::disconnectPhone(const QString& endpoint) {
  if (const auto client = wire::Endpoint::parse(endpoint.toStdString())) {
    server_.disconnect(*client);
  }
}

void WiFiMode::refreshOnlineStatusMessage() {
  const auto before = state_.clients.size();
  state_.address = watch_.address();
  state_.candidates = watch_.networks().candidates;
  state_.isRunning = server_.isRunning();
  state_.clients = server_.clients();
  state_.hasRefused = server_.hasRefused();
  if (state_.clients.size() != before) {
    log::detail(kLogArea, std::to_string(state_.clients.size()) + " clients");
  }
  auto page = describe(state_, parts_.texts);
  page.codeText = codeText_;
  page.code = code_;
  if (page == shown_) return;
  shown_ = std::move(page);
  parts_.window.showWiFiPage(shown_);
}

void WiFiMode::onNetworksChanged() {
  server_.setOwnNetworks(watch_.networks().subnets);
  // Posted: an address change may follow in this turn.
  scheduler_.mainQueue().async(whileOpen_, [this] { showAddress(); });
}

void WiFiMode::onAddressChanged(wifi::AddressStatus status) {
  using enum wifi::AddressStatus;
  if (status != state_.network) log::detail(kLogArea, kNetworkNews[std::to_underlying(status)]);
  state_.network = status;
  if (status == kSettled) {
    restartUDP();
    openQRHelp();
  }
  refreshOnlineStatusMessage();
  if (status == kBack || status == kChanged) silentReenterOnlineMode();
}

}  // namespace quorin::app
