#pragma once

#include "panel/udp_audio_server.h"

#include <QString>
#include <QWidget>
#include <vector>

namespace quorin::app {
class NonInteractiveLabel;
}  // namespace quorin::app

namespace quorin::panel {

class ClientRow;
class InfoRow;
class QRCodeView;
class StatsRow;
class TitledBox;

/// What the panel shows while its server runs: four boxes, of which the third is the QR code until
/// the first client is there and the list of clients from then on.
class RunningView : public QWidget {
 public:
  /// More clients than this are only counted.
  static constexpr std::size_t kMaxClientRows = 100;

  explicit RunningView(const QString& pairingInstructions);

  /// Changes only what differs from what is shown.
  void show(const UDPAudioServer::Published& values);

 private:
  TitledBox* makeInformation();
  TitledBox* makeStatistics();
  TitledBox* makeClientList();
  TitledBox* makePairing(const QString& instructions);
  void showClients(const ClientList& clients);

  InfoRow* localIP_ = nullptr;
  InfoRow* port_ = nullptr;
  InfoRow* clients_ = nullptr;
  StatsRow* packetsPerSecond_ = nullptr;
  StatsRow* kbps_ = nullptr;
  TitledBox* clientList_ = nullptr;
  std::vector<ClientRow*> clientRows_;
  app::NonInteractiveLabel* furtherClients_ = nullptr;
  TitledBox* pairing_ = nullptr;
  QRCodeView* code_ = nullptr;
  app::NonInteractiveLabel* payload_ = nullptr;
};

}  // namespace quorin::panel
