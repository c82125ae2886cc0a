#include "panel/rows.h"

#include "panel/panel_style.h"
#include "panel/symbol_view.h"

#include <QHBoxLayout>

namespace quorin::panel {
namespace {

constexpr int kMarkWidth = 20;

/// In the middle of a column of its own, so that the labels of a box stand in line.
QWidget* centredMark(QWidget* mark) {
  auto* column = new QWidget;
  column->setFixedWidth(kMarkWidth);
  auto* layout = new QHBoxLayout(column);
  layout->setContentsMargins({});
  layout->addWidget(mark);
  return column;
}

QHBoxLayout* makeRowLayout(QWidget* row) {
  auto* layout = new QHBoxLayout(row);
  layout->setContentsMargins({});
  layout->setSpacing(8);
  return layout;
}

}  // namespace

ValueRow::ValueRow(QWidget* mark, const QString& label, QLabel* value)
    : label_(label), value_(value) {
  auto* layout = makeRowLayout(this);
  if (mark != nullptr) layout->addWidget(centredMark(mark));
  layout->addWidget(style::makeLabel(label, {.color = style::kSecondary}));
  layout->addStretch();
  layout->addWidget(value_);
  setAccessibleName(label_ + u' ' + value_->text());
}

void ValueRow::setValue(const QString& value) {
  if (value == value_->text()) return;
  value_->setText(value);
  setAccessibleName(label_ + u' ' + value);
}

InfoRow::InfoRow(const QString& icon, const QString& label, const QString& value)
    : ValueRow(new SymbolView(icon, 18, style::kBlue), label,
               style::makeLabel(value, {.weight = QFont::Bold, .monospaced = true})) {}

StatsRow::StatsRow(const QString& label, const QString& value, const QColor& color)
    : ValueRow(new DotView(8, color), label,
               style::makeLabel(value, {.weight = QFont::Bold, .color = color})) {}

PlainRow::PlainRow(const QString& label, const QString& value)
    : ValueRow(nullptr, label, style::makeLabel(value, {.weight = QFont::Bold})) {}

ClientRow::ClientRow(const QString& key) : key_(key) {
  auto* layout = makeRowLayout(this);
  layout->setContentsMargins(0, 4, 0, 4);
  layout->addWidget(
      new SymbolView(QStringLiteral("iphone.radiowaves.left.and.right"), 18, style::kGreen));
  layout->addWidget(style::makeLabel(key, {.monospaced = true}));
  layout->addStretch();
  layout->addWidget(style::makeLabel(QStringLiteral("✓"), {.color = style::kGreen}));
  setAccessibleName(key);
}

}  // namespace quorin::panel
