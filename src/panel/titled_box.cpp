#include "panel/titled_box.h"

#include "panel/panel_style.h"
#include "panel/symbol_view.h"

#include <QHBoxLayout>
#include <QPainter>

namespace quorin::panel {
namespace {

constexpr double kCornerRadius = 8;
constexpr int kInnerMargin = 12;
constexpr int kTitleGap = 6;

}  // namespace

TitledBox::TitledBox(const QString& title, const QString& symbolName) : title_(new QWidget) {
  auto* titleRow = new QHBoxLayout(title_);
  titleRow->setContentsMargins(4, 0, 0, 0);
  titleRow->setSpacing(6);
  titleRow->addWidget(new SymbolView(symbolName, 16, style::kPrimary));
  titleRow->addWidget(style::makeLabel(title, {.weight = QFont::DemiBold}));
  titleRow->addStretch();

  auto* box = new QWidget;
  content_ = new QVBoxLayout(box);
  content_->setContentsMargins(kInnerMargin, kInnerMargin, kInnerMargin, kInnerMargin);
  content_->setSpacing(12);

  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins({});
  layout->setSpacing(kTitleGap);
  layout->addWidget(title_);
  layout->addWidget(box);
  setAccessibleName(title);
}

void TitledBox::paintEvent(QPaintEvent* /*event*/) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(Qt::NoPen);
  painter.setBrush(style::kBoxBackground);
  painter.drawRoundedRect(QRectF(rect()).adjusted(0, title_->geometry().bottom() + kTitleGap, 0, 0),
                          kCornerRadius, kCornerRadius);
}

}  // namespace quorin::panel
