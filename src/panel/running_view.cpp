#include "panel/running_view.h"

#include "panel/panel_style.h"
#include "panel/qr_code_view.h"
#include "panel/rows.h"
#include "panel/titled_box.h"

#include <QGraphicsDropShadowEffect>
#include <QVBoxLayout>
#include <algorithm>

namespace quorin::panel {
namespace {

constexpr int kBoxSpacing = 20;
constexpr int kSideMargin = 16;
constexpr int kCodeSide = 300;

QString oneDecimal(double value, const char* unit) {
  return QString::number(value, 'f', 1) + u' ' + QLatin1String(unit);
}

QGraphicsDropShadowEffect* makeShadow(QObject* parent) {
  auto* shadow = new QGraphicsDropShadowEffect(parent);
  shadow->setColor(QColor::fromRgbF(0, 0, 0, 0.33F));
  shadow->setBlurRadius(2 * 5);  // a blur's radius reaches half as far as the shadow's
  shadow->setOffset(0);
  return shadow;
}

}  // namespace

RunningView::RunningView(const QString& pairingInstructions) {
  auto* column = new QVBoxLayout(this);
  column->setContentsMargins(kSideMargin, kBoxSpacing, kSideMargin, kBoxSpacing);
  column->setSpacing(kBoxSpacing);
  column->addWidget(makeInformation());
  column->addWidget(makeStatistics());
  column->addWidget(makeClientList());
  column->addWidget(makePairing(pairingInstructions));
  column->addWidget(makeCaptureFacts());
  column->addStretch();
}

TitledBox* RunningView::makeInformation() {
  auto* box = new TitledBox("Información del Servidor", "server.rack");
  localIP_ = new InfoRow("network", "IP Local", {});
  port_ = new InfoRow("number", "Puerto", {});
  clients_ = new InfoRow("iphone.radiowaves.left.and.right", "Clientes", "0");
  for (auto* row : {localIP_, port_, clients_}) box->content().addWidget(row);
  box->content().addWidget(new InfoRow("chart.bar.fill", "Target", "~50 paquetes/seg"));
  return box;
}

TitledBox* RunningView::makeStatistics() {
  auto* box = new TitledBox("Estadísticas", "chart.line.uptrend.xyaxis");
  packetsPerSecond_ = new StatsRow("Paquetes/seg", {}, style::kBlue);
  kbps_ = new StatsRow("Velocidad", {}, style::kGreen);
  for (auto* row : {packetsPerSecond_, kbps_}) box->content().addWidget(row);
  box->content().addWidget(new StatsRow("Latencia teórica", "~20ms", style::kOrange));
  return box;
}

TitledBox* RunningView::makeClientList() {
  clientList_ = new TitledBox("Clientes Conectados", "person.2.fill");
  clientList_->content().setSpacing(8);
  return clientList_;
}

TitledBox* RunningView::makePairing(const QString& instructions) {
  pairing_ = new TitledBox("📱 Código QR para Conectar", "qrcode");
  pairing_->content().setSpacing(28);

  code_ = new QRCodeView;
  code_->setFixedSize(kCodeSide, kCodeSide);
  code_->setGraphicsEffect(makeShadow(code_));
  pairing_->content().addWidget(code_, 0, Qt::AlignHCenter);

  auto* text = style::makeLabel(instructions, {.pixels = 32, .weight = QFont::Bold});
  text->setWordWrap(true);
  text->setAlignment(Qt::AlignCenter);
  pairing_->content().addWidget(text);

  payload_ = style::makeLabel({}, {.pixels = style::kCaption, .color = style::kSecondary});
  payload_->setStyleSheet("padding: 8px; border-radius: 6px; background: rgba(142, 142, 147, 10%)");
  pairing_->content().addWidget(payload_, 0, Qt::AlignHCenter);
  return pairing_;
}

TitledBox* RunningView::makeCaptureFacts() {
  auto* box = new TitledBox("Captura de Audio", "mic.fill");
  box->content().addWidget(new PlainRow("Sample Rate:", "44100 Hz"));
  box->content().addWidget(new PlainRow("Canales:", "1 (Mono)"));
  box->content().addWidget(new PlainRow("Chunk Size:", "882 samples"));
  return box;
}

void RunningView::show(const UDPAudioServer& server) {
  const auto address = QString::fromStdString(server.localIP());
  const auto port = QString::number(server.port());
  const auto payload = address + u':' + port;

  localIP_->setValue(address);
  port_->setValue(port);
  clients_->setValue(QString::number(server.clientCount()));
  packetsPerSecond_->setValue(oneDecimal(server.packetsPerSecond(), "pkt/s"));
  kbps_->setValue(oneDecimal(server.kbps(), "Kbps"));
  showClients(server.connectedClients());
  clientList_->setVisible(server.clientCount() != 0);
  pairing_->setVisible(server.clientCount() == 0);
  code_->setData(payload);
  payload_->setText("📦 Datos: " + payload);
}

void RunningView::showClients(const std::vector<std::string>& keys) {
  std::erase_if(clientRows_, [&](ClientRow* row) {
    if (std::ranges::find(keys, row->key().toStdString()) != keys.end()) return false;
    delete row;
    return true;
  });
  for (const auto& text : keys) {
    const auto key = QString::fromStdString(text);
    if (std::ranges::find(clientRows_, key, &ClientRow::key) != clientRows_.end()) continue;
    clientRows_.push_back(new ClientRow(key));
    clientList_->content().addWidget(clientRows_.back());
  }
}

}  // namespace quorin::panel
