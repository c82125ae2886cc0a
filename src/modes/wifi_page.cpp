#include "modes/wifi_page.h"

#include "core/identity.h"

#include <QDateTime>
#include <cerrno>
#include <chrono>

namespace quorin::app {
namespace {

using Step = wifi::StartFailure::Step;

QString timeOfDay(dispatch::WallTime time) {
  const auto sinceEpoch = std::chrono::floor<std::chrono::milliseconds>(time.time_since_epoch());
  return QDateTime::fromMSecsSinceEpoch(sinceEpoch.count()).toString(QStringLiteral("HH:mm"));
}

QString holderText(const std::optional<network::PortHolder>& holder, const Texts& texts) {
  if (!holder || holder->program.empty()) return texts.tr("port.holder.unknown");
  if (holder->program != kProgramFile) {
    return texts.tr("port.holder.program", QString::fromStdString(holder->program));
  }
  return holder->isOwnUser
             ? texts.tr("port.holder.other_session")
             : texts.tr("port.holder.other_user", QString::fromStdString(holder->user));
}

QString failureText(const wifi::StartFailure& failure, const Texts& texts) {
  if (failure.step == Step::kPort) return QStringLiteral("Introduce un puerto válido");
  return failure.step == Step::kSocket ? texts.tr("udp.socket.create_failed")
                                       : texts.tr("udp.port.bind_failed");
}

void describeProblem(const ServerProblem& problem, const Texts& texts, WiFiPage& page) {
  const auto& failure = problem.failure;
  const auto port = QString::number(failure.port);
  page.content = WiFiPage::Content::kProblem;
  page.otherPort = problem.otherPort;
  page.title = failureText(failure, texts);
  if (failure.step == Step::kPort) return;  // retrying cannot help

  if (failure.error == EADDRINUSE) {
    page.title = texts.tr("port.in_use", port);
    if (problem.isLookedUp) page.detail = holderText(problem.holder, texts) + QLatin1Char('\n');
  } else if (failure.error == EACCES) {
    page.title = texts.tr("port.not_permitted", port);
    page.detail = texts.tr("port.not_permitted.advice") + QLatin1Char('\n');
  }
  page.detail += texts.tr("port.tries_again");
}

QString networkMessage(wifi::AddressStatus status, const Texts& texts) {
  const auto settling = [&texts](const QString& news, std::chrono::seconds time) {
    return news + QLatin1Char('\n') +
           texts.tr("network.generating_qr_in_seconds", static_cast<int>(time.count()));
  };
  switch (status) {
    case wifi::AddressStatus::kSettled:
      break;
    case wifi::AddressStatus::kLost:
      return texts.tr("network.unavailable");
    case wifi::AddressStatus::kBack:
      return settling(texts.tr("network.available"), wifi::NetworkWatch::kSettlingAfterReturn);
    case wifi::AddressStatus::kChanged:
      return settling(texts.tr("network.change_detected"),
                      wifi::NetworkWatch::kSettlingAfterChange);
  }
  return {};
}

}  // namespace

QString statusText(const WiFiState& state, const Texts& texts) {
  if (state.problem) return failureText(state.problem->failure, texts);
  if (!state.isRunning) return QStringLiteral("Transmisión detenida.");
  if (state.hasRefused) return texts.tr("status.full");
  switch (state.clients.size()) {
    case 0:
      return texts.tr("waiting_connection");
    case 1:
      return texts.tr("status.connected.one");
    default:
      return texts.tr("status.connected.many", static_cast<int>(state.clients.size()));
  }
}

WiFiPage describe(const WiFiState& state, const Texts& texts) {
  WiFiPage page;
  page.info = statusText(state, texts);
  page.address = QString::fromStdString(state.address.value_or(std::string()));
  page.port = state.port;
  for (const auto& candidate : state.candidates) {
    const auto name = QString::fromStdString(candidate.interface);
    page.networks.push_back({.name = network::isWifi(candidate.interface)
                                         ? texts.tr("address.network.wifi", name)
                                         : texts.tr("address.network.wired", name),
                             .address = QString::fromStdString(candidate.address)});
  }
  for (const auto& client : state.clients) {
    page.phones.push_back(
        {.endpoint = QString::fromStdString(client.endpoint.text()),
         .description = texts.tr("phone.listening",
                                 QString::fromStdString(wire::addressText(client.endpoint.address)),
                                 timeOfDay(client.connectedSince))});
  }
  if (state.network != wifi::AddressStatus::kSettled) {
    page.content = WiFiPage::Content::kMessage;
    page.title = networkMessage(state.network, texts);
  } else if (state.problem) {
    describeProblem(*state.problem, texts, page);
  }
  return page;
}

}  // namespace quorin::app
