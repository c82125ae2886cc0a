#include "panel/content_view.h"

#include "panel/rows.h"
#include "panel/running_view.h"
#include "ui/appearance.h"
#include "ui/containers.h"
#include "ui/picture.h"

#include <QHBoxLayout>
#include <QScrollArea>
#include <QVBoxLayout>
#include <utility>

namespace quorin::panel {
namespace {

constexpr int kBandMargin = 16;

// Dark enough for the white text on them.
constexpr app::ButtonLook kStartLook{.face = {0, 104, 220}, .cornerRadius = 12};
constexpr app::ButtonLook kStopLook{.face = {200, 42, 36}, .cornerRadius = 12};

QHBoxLayout* makeBand(QWidget* band) {
  auto* layout = new QHBoxLayout(band);
  layout->setContentsMargins(kBandMargin, kBandMargin, kBandMargin, kBandMargin);
  layout->setSpacing(12);
  return layout;
}

QWidget* makeDivider() {
  auto* line = new app::ContainerView(look::kDivider, nullptr);
  line->setFixedHeight(1);
  return line;
}

}  // namespace

ContentView::ContentView(std::unique_ptr<UDPAudioServer> server, QString pairingInstructions)
    : server_(std::move(server)), pairingInstructions_(std::move(pairingInstructions)) {
  setAutoFillBackground(true);
  server_->setOnChanged([this] {
    if (button_ != nullptr) refresh();
  });
}

void ContentView::showEvent(QShowEvent* event) {
  if (button_ == nullptr) makeViews();
  QWidget::showEvent(event);
}

void ContentView::makeViews() {
  auto* bands = new QVBoxLayout(this);
  bands->setContentsMargins({});
  bands->setSpacing(0);
  bands->addWidget(makeHeader());
  bands->addWidget(makeDivider());
  bands->addWidget(makeScrollArea(), 1);
  bands->addWidget(makeDivider());
  bands->addWidget(makeButtonBand());
  refresh();
}

QWidget* ContentView::makeHeader() {
  auto* band = new app::ContainerView(look::kBand, nullptr);
  auto* row = makeBand(band);
  row->addWidget(makeSymbol("waveform.circle.fill", 50, look::kBlue));

  auto* titles = new QVBoxLayout;
  titles->setSpacing(4);
  titles->addWidget(
      makeLabel("🎵 SERVIDOR UDP PCM CON QR", {.pixels = look::kTitle2, .weight = QFont::Bold}));
  titles->addWidget(makeLabel("Transmisión de audio en tiempo real",
                              {.pixels = look::kCaption, .color = look::kSecondary}));
  row->addLayout(titles);
  row->addStretch();

  auto* status = new QVBoxLayout;
  status->setSpacing(4);
  statusDot_ = makeSymbol("circle.fill", 12, look::kGray);
  statusText_ = makeLabel({}, {.pixels = look::kCaption});
  status->addStretch();
  status->addWidget(statusDot_, 0, Qt::AlignHCenter);
  status->addWidget(statusText_, 0, Qt::AlignHCenter);
  status->addStretch();
  row->addLayout(status);
  return band;
}

QWidget* ContentView::makeStoppedView() {
  auto* view = new QWidget;
  auto* column = new QVBoxLayout(view);
  column->setContentsMargins(40, 40, 40, 40);
  column->setSpacing(20);
  column->addStretch();
  column->addWidget(makeSymbol("stop.circle", 80, look::kGray), 0, Qt::AlignCenter);
  for (const auto& [text, pixels] :
       {std::pair("Servidor detenido", look::kTitle2),
        std::pair("Presiona 'Iniciar Servidor' para comenzar", look::kCaption)}) {
    column->addWidget(makeLabel(text, {.pixels = double(pixels), .color = look::kSecondary}), 0,
                      Qt::AlignCenter);
  }
  failure_ =
      new Label({}, {.color = app::colors::kOrange, .lineBreak = app::LineBreak::kWrap}, nullptr);
  column->addWidget(failure_);
  column->addStretch();
  return view;
}

QWidget* ContentView::makeScrollArea() {
  stoppedView_ = makeStoppedView();
  runningView_ = new RunningView(pairingInstructions_);
  auto* content = new QWidget;
  auto* column = new QVBoxLayout(content);
  column->setContentsMargins({});
  column->addWidget(stoppedView_);
  column->addWidget(runningView_);

  auto* area = new QScrollArea;
  area->setWidget(content);
  area->setWidgetResizable(true);
  area->setFrameShape(QFrame::NoFrame);
  area->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  return area;
}

QWidget* ContentView::makeButtonBand() {
  auto* band = new app::ContainerView(look::kBand, nullptr);
  button_ = new app::PushButton({}, app::systemFont(look::kHeadline), kStartLook, nullptr);
  button_->setCursor(Qt::PointingHandCursor);
  connect(button_, &QAbstractButton::clicked, this, [this] { toggleServer(); });
  makeBand(band)->addWidget(button_);

  buttonSymbol_ = new app::NonInteractiveImageView(nullptr, nullptr);
  buttonSymbol_->setFixedSize(look::kTitle3, look::kTitle3);
  buttonText_ = makeLabel({}, {.pixels = look::kHeadline, .weight = QFont::DemiBold});
  auto* face = new QHBoxLayout(button_);
  face->setContentsMargins(8, 14, 8, 14);
  face->addStretch();
  face->addWidget(buttonSymbol_);
  face->addWidget(buttonText_);
  face->addStretch();
  button_->setMinimumHeight(face->sizeHint().height());
  return band;
}

void ContentView::toggleServer() {
  server_->published().isRunning ? server_->stop() : server_->start();
}

void ContentView::refresh() {
  const auto& values = server_->published();
  const bool running = values.isRunning;
  if (running) runningView_->show(values);
  stoppedView_->setVisible(!running);
  runningView_->setVisible(running);
  failure_->setText(QString::fromStdString(values.startFailure));

  const QString text = running ? "Detener Servidor" : "Iniciar Servidor";
  if (button_->accessibleName() == text) return;
  button_->setAccessibleName(text);
  button_->setLook(running ? kStopLook : kStartLook);
  buttonText_->setText(text);
  buttonSymbol_->setImage(app::symbol(running ? "stop.fill" : "play.fill", Qt::white));
  statusDot_->setImage(app::symbol("circle.fill", running ? app::colors::kGreen : look::kGray));
  statusText_->setText(running ? "Activo" : "Detenido");
  statusText_->setTextColor(running ? app::colors::kGreen : look::kSecondary);
}

}  // namespace quorin::panel
