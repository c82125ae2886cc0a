#include "panel/content_view.h"

#include "panel/panel_style.h"
#include "panel/running_view.h"
#include "panel/symbol_view.h"

#include <QHBoxLayout>
#include <QIcon>
#include <QLabel>
#include <QScrollArea>
#include <QScrollBar>
#include <QVBoxLayout>
#include <utility>

namespace quorin::panel {
namespace {

constexpr int kBandMargin = 16;

constexpr auto kButtonLook = R"(
  QPushButton { color: white; background: %1; border: 2px solid transparent; border-radius: 12px;
                padding: 12px; }
  QPushButton:hover { background: %2; }
  QPushButton:pressed { background: %3; }
  QPushButton:focus { border-color: white; })";

/// A slim bar that leaves the boxes their width.
constexpr auto kScrollBarLook = R"(
  QScrollBar:vertical { background: transparent; width: 10px; margin: 0; }
  QScrollBar::handle:vertical { background: #636368; border-radius: 3px; min-height: 40px;
                                margin: 2px; }
  QScrollBar::handle:vertical:hover { background: #8e8e93; }
  QScrollBar::add-line, QScrollBar::sub-line { height: 0; }
  QScrollBar::add-page, QScrollBar::sub-page { background: transparent; })";

QIcon icon(const QString& name, int side) {
  const auto picture = symbol(name, Qt::white);
  if (!picture) return {};
  return QPixmap::fromImage(pictures::renderSquare(*picture, side));
}

QWidget* makeBand() {
  auto* band = new QWidget;
  band->setAutoFillBackground(true);
  auto palette = band->palette();
  palette.setColor(QPalette::Window, style::kControlBackground);
  band->setPalette(palette);
  auto* layout = new QHBoxLayout(band);
  layout->setContentsMargins(kBandMargin, kBandMargin, kBandMargin, kBandMargin);
  layout->setSpacing(12);
  return band;
}

QWidget* makeDivider() {
  auto* line = new QWidget;
  line->setFixedHeight(1);
  line->setAutoFillBackground(true);
  auto palette = line->palette();
  palette.setColor(QPalette::Window, style::kDivider);
  line->setPalette(palette);
  return line;
}

QWidget* makeStoppedView() {
  auto* view = new QWidget;
  auto* column = new QVBoxLayout(view);
  column->setContentsMargins(40, 40, 40, 40);
  column->setSpacing(20);
  const auto addCentred = [column](QWidget* widget) {
    column->addWidget(widget, 0, Qt::AlignCenter);
  };
  column->addStretch();
  addCentred(new SymbolView("stop.circle", 80, style::kGray));
  addCentred(style::makeLabel("Servidor detenido",
                              {.pixels = style::kTitle2, .color = style::kSecondary}));
  addCentred(style::makeLabel("Presiona 'Iniciar Servidor' para comenzar",
                              {.pixels = style::kCaption, .color = style::kSecondary}));
  column->addStretch();
  return view;
}

}  // namespace

ContentView::ContentView(dispatch::Scheduler& scheduler, std::unique_ptr<UDPAudioServer> server,
                         TextLookup text)
    : scheduler_(scheduler), server_(std::move(server)), text_(std::move(text)) {
  setPalette(style::darkPalette());
  setAutoFillBackground(true);
  subscription_ = server_->onWillChange([this] { refreshSoon(); });
}

ContentView::~ContentView() = default;

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
  auto* band = makeBand();
  auto* row = static_cast<QHBoxLayout*>(band->layout());
  row->addWidget(new SymbolView("waveform.circle.fill", 50, style::kBlue));

  auto* titles = new QVBoxLayout;
  titles->setSpacing(4);
  auto* title = style::makeLabel("🎵 SERVIDOR UDP PCM CON QR",
                                 {.pixels = style::kTitle2, .weight = QFont::Bold});
  titles->addWidget(title);
  titles->addWidget(style::makeLabel("Transmisión de audio en tiempo real",
                                     {.pixels = style::kCaption, .color = style::kSecondary}));
  row->addLayout(titles);
  row->addStretch();

  auto* status = new QVBoxLayout;
  status->setSpacing(4);
  statusDot_ = new DotView(12, style::kGray);
  statusText_ = style::makeLabel({}, {.pixels = style::kCaption});
  status->addStretch();
  status->addWidget(statusDot_, 0, Qt::AlignHCenter);
  status->addWidget(statusText_, 0, Qt::AlignHCenter);
  status->addStretch();
  row->addLayout(status);
  return band;
}

QWidget* ContentView::makeScrollArea() {
  stoppedView_ = makeStoppedView();
  runningView_ = new RunningView(text_("pairing_instructions"));
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
  area->verticalScrollBar()->setStyleSheet(kScrollBarLook);
  return area;
}

QWidget* ContentView::makeButtonBand() {
  auto* band = makeBand();
  button_ = new QPushButton;
  button_->setFont(style::font({.pixels = style::kHeadline, .weight = QFont::DemiBold}));
  button_->setIconSize({style::kTitle3, style::kTitle3});
  button_->setCursor(Qt::PointingHandCursor);
  connect(button_, &QPushButton::clicked, this, [this] { toggleServer(); });
  band->layout()->addWidget(button_);
  return band;
}

void ContentView::toggleServer() {
  if (server_->isRunning()) {
    server_->stop();
  } else {
    server_->start();
  }
}

/// Called before a value is stored, hence on the next turn; several changes are shown at once.
void ContentView::refreshSoon() {
  if (std::exchange(refreshIsDue_, true)) return;
  scheduler_.mainQueue().async(scope_, [this] {
    refreshIsDue_ = false;
    if (button_ != nullptr) refresh();
  });
}

void ContentView::refresh() {
  const bool running = server_->isRunning();
  if (running) runningView_->show(*server_);
  stoppedView_->setVisible(!running);
  runningView_->setVisible(running);

  const QString buttonText = running ? "Detener Servidor" : "Iniciar Servidor";
  if (button_->accessibleName() == buttonText) return;
  const QColor face = running ? style::kStopFace : style::kStartFace;
  button_->setText(u' ' + buttonText);  // a little more room after the symbol
  button_->setAccessibleName(buttonText);
  button_->setIcon(icon(running ? "stop.fill" : "play.fill", 4 * style::kTitle3));
  button_->setStyleSheet(
      QString(kButtonLook).arg(face.name(), face.lighter(112).name(), face.darker(120).name()));
  statusDot_->setColor(running ? style::kGreen : style::kGray);
  statusText_->setText(running ? "Activo" : "Detenido");
  style::setColor(*statusText_, running ? style::kGreen : style::kSecondary);
}

}  // namespace quorin::panel
