#include "panel/rows.h"

#include "ui/appearance.h"
#include "ui/picture.h"

#include <QFontDatabase>
#include <QFrame>
#include <QHBoxLayout>
#include <QPainter>

namespace quorin::panel {
namespace {

constexpr int kMarkWidth = 20;

QHBoxLayout* makeRowLayout(QWidget* row, int verticalMargin = 0) {
  auto* layout = new QHBoxLayout(row);
  layout->setContentsMargins(0, verticalMargin, 0, verticalMargin);
  layout->setSpacing(8);
  return layout;
}

void setMonospaced(Label& label) {
  QFont font = label.font();
  font.setFamilies(QFontDatabase::systemFont(QFontDatabase::FixedFont).families());
  label.setFont(font);
}

}  // namespace

Label* makeLabel(const QString& text, app::TextStyle style) {
  style.alignment = Qt::AlignLeft;
  return new Label(text, style, nullptr);
}

app::NonInteractiveImageView* makeSymbol(const QString& name, int side, const QColor& color) {
  auto* view = new app::NonInteractiveImageView(app::symbol(name, color), nullptr);
  view->setFixedSize(side, side);
  return view;
}

ValueRow::ValueRow(QWidget* mark, const QString& label, const QString& value,
                   const app::TextStyle& valueStyle)
    : value_(makeLabel({}, valueStyle)), label_(label) {
  auto* layout = makeRowLayout(this);
  if (mark != nullptr) {  // in its own column, so that the labels of a box align
    layout->addSpacing((kMarkWidth - mark->width()) / 2);
    layout->addWidget(mark);
    layout->addSpacing((kMarkWidth - mark->width()) / 2);
  }
  layout->addWidget(makeLabel(label, {.color = look::kSecondary}));
  layout->addStretch();
  layout->addWidget(value_);
  setValue(value);
}

void ValueRow::setValue(const QString& value) {
  value_->setText(value);
  setAccessibleName(label_ + u' ' + value);
}

InfoRow::InfoRow(const QString& icon, const QString& label, const QString& value)
    : ValueRow(makeSymbol(icon, 18, look::kBlue), label, value, {.weight = QFont::Bold}) {
  setMonospaced(*value_);
}

StatsRow::StatsRow(const QString& label, const QColor& color, const QString& value)
    : ValueRow(makeSymbol("circle.fill", 8, color), label, value,
               {.weight = QFont::Bold, .color = color}) {}

ClientRow::ClientRow() : key_(makeLabel({}, {})) {
  setMonospaced(*key_);
  auto* layout = makeRowLayout(this, 4);
  layout->addWidget(makeSymbol("iphone.radiowaves.left.and.right", 18, app::colors::kGreen));
  layout->addWidget(key_);
  layout->addStretch();
  layout->addWidget(makeLabel("✓", {.color = app::colors::kGreen}));
}

void ClientRow::setKey(const QString& key) {
  key_->setText(key);
  setAccessibleName(key);
}

void QRCodeView::setData(const QString& text) {
  constexpr double kPoints = 250;
  if (text == content()) return;
  showCode(app::generateQRCodeFromString(text, kPoints, app::Correction::kL), text);
}

void QRCodeView::paintEvent(QPaintEvent* event) {
  if (hasCode()) return CodeView::paintEvent(event);
  QPainter painter(this);
  painter.fillRect(rect(), app::withAlpha(look::kGray, 0.3));
  painter.setPen(Qt::white);
  painter.drawText(rect(), Qt::AlignCenter, "Error generando QR");
}

TitledBox::TitledBox(const QString& title, const QString& symbol) {
  auto* titleRow = new QWidget;
  auto* titleLayout = makeRowLayout(titleRow);
  titleLayout->addWidget(makeSymbol(symbol, 16, Qt::white));
  titleLayout->addWidget(makeLabel(title, {.weight = QFont::DemiBold}));
  titleLayout->addStretch();

  auto* box = new QFrame;
  box->setObjectName("box");
  box->setStyleSheet(
      QStringLiteral("#box { background: %1; border-radius: 8px; }").arg(look::kBox.name()));
  content_ = new QVBoxLayout(box);
  content_->setContentsMargins(12, 12, 12, 12);
  content_->setSpacing(12);

  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins({});
  layout->setSpacing(6);
  layout->addWidget(titleRow);
  layout->addWidget(box);
  setAccessibleName(title);
}

}  // namespace quorin::panel
