#include "panel/running_view.h"

#include "panel/rows.h"
#include "ui/appearance.h"

#include <QGraphicsDropShadowEffect>
#include <QVBoxLayout>
#include <algorithm>

namespace quorin::panel {
namespace {

constexpr int kBoxSpacing = 20;
constexpr int kSideMargin = 16;
constexpr int kCodeFrameSide = 300;

TitledBox* makeCaptureFacts() {
  auto* box = new TitledBox("Captura de Audio", "mic.fill");
  const auto add = [box](const QString& label, const QString& value) {
    box->content().addWidget(new ValueRow(nullptr, label, value, {.weight = QFont::Bold}));
  };
  add("Sample Rate:", "44100 Hz");
  add("Canales:", "1 (Mono)");
  add("Chunk Size:", "882 samples");
  return box;
}

}  // namespace

RunningView::RunningView(const QString& pairingInstructions) {
  auto* column = new QVBoxLayout(this);
  column->setContentsMargins(kSideMargin, kBoxSpacing, kSideMargin, kBoxSpacing);
  column->setSpacing(kBoxSpacing);
  for (auto* box : {makeInformation(), makeStatistics(), makeClientList(),
                    makePairing(pairingInstructions), makeCaptureFacts()}) {
    column->addWidget(box);
  }
  column->addStretch();
}

TitledBox* RunningView::makeInformation() {
  auto* box = new TitledBox("Información del Servidor", "server.rack");
  localIP_ = new InfoRow("network", "IP Local");
  port_ = new InfoRow("number", "Puerto");
  clients_ = new InfoRow("iphone.radiowaves.left.and.right", "Clientes");
  auto* target = new InfoRow("chart.bar.fill", "Target", "~50 paquetes/seg");
  for (auto* row : {localIP_, port_, clients_, target}) box->content().addWidget(row);
  return box;
}

TitledBox* RunningView::makeStatistics() {
  auto* box = new TitledBox("Estadísticas", "chart.line.uptrend.xyaxis");
  packetsPerSecond_ = new StatsRow("Paquetes/seg", look::kBlue);
  kbps_ = new StatsRow("Velocidad", app::colors::kGreen);
  auto* latency = new StatsRow("Latencia teórica", app::colors::kOrange, "~20ms");
  for (auto* row : {packetsPerSecond_, kbps_, latency}) box->content().addWidget(row);
  return box;
}

TitledBox* RunningView::makeClientList() {
  clientList_ = new TitledBox("Clientes Conectados", "person.2.fill");
  clientList_->content().setSpacing(8);
  furtherClients_ = makeLabel({}, {.color = look::kSecondary});
  clientList_->content().addWidget(furtherClients_);
  return clientList_;
}

TitledBox* RunningView::makePairing(const QString& instructions) {
  pairing_ = new TitledBox("📱 Código QR para Conectar", "qrcode");
  pairing_->content().setSpacing(28);

  code_ = new QRCodeView;
  code_->setFixedSize(kCodeFrameSide, kCodeFrameSide);
  auto* shadow = new QGraphicsDropShadowEffect(code_);
  shadow->setColor(app::withAlpha(Qt::black, 0.33));
  shadow->setBlurRadius(2 * 5);  // a blur's radius reaches half as far as the shadow's
  shadow->setOffset(0);
  code_->setGraphicsEffect(shadow);
  pairing_->content().addWidget(code_, 0, Qt::AlignHCenter);

  auto* text =
      new Label(instructions,
                {.pixels = 32, .weight = QFont::Bold, .lineBreak = app::LineBreak::kWrap}, nullptr);
  pairing_->content().addWidget(text);

  payload_ = makeLabel({}, {.pixels = look::kCaption, .color = look::kSecondary});
  payload_->setAlignment(Qt::AlignCenter);
  payload_->setStyleSheet("padding: 8px; border-radius: 6px; background: rgba(142, 142, 147, 10%)");
  pairing_->content().addWidget(payload_, 0, Qt::AlignHCenter);
  return pairing_;
}

void RunningView::show(const UDPAudioServer::Published& values) {
  const auto address = QString::fromStdString(values.localIP);
  const auto port = QString::number(values.port);
  localIP_->setValue(address);
  port_->setValue(port);
  clients_->setValue(QString::number(values.clientCount()));
  packetsPerSecond_->setValue(QString::asprintf("%.1f pkt/s", values.packetsPerSecond));
  kbps_->setValue(QString::asprintf("%.1f Kbps", values.kbps));
  showClients(values.connectedClients);
  code_->setData(address + u':' + port);
  payload_->setText("📦 Datos: " + code_->content());
  clientList_->setVisible(values.clientCount() > 0);
  pairing_->setVisible(values.clientCount() == 0);
}

void RunningView::showClients(const ClientList& clients) {
  const auto shown = std::min(clients.size(), kMaxClientRows);
  auto& content = clientList_->content();
  while (clientRows_.size() < shown) {
    clientRows_.push_back(new ClientRow);
    content.insertWidget(content.count() - 1, clientRows_.back());
  }
  for (std::size_t i = 0; i < clientRows_.size(); ++i) {
    clientRows_[i]->setVisible(i < shown);
    if (i < shown) clientRows_[i]->setKey(QString::fromStdString(clients[i].text()));
  }
  furtherClients_->setVisible(clients.size() > shown);
  furtherClients_->setText(QStringLiteral("… y %1 más").arg(clients.size() - shown));
}

}  // namespace quorin::panel
