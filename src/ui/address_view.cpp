#include "ui/address_view.h"

#include "ui/appearance.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QMenu>
#include <algorithm>

namespace quorin::app {

AddressView::AddressView(const Texts& texts, QWidget* parent)
    : ContainerView(parent),
      texts_(texts),
      text_(new QLineEdit(this)),
      copy_(new PushButton(texts.tr("address.copy"), systemFont(13), looks::kPlain, this)),
      network_(new PushButton({}, systemFont(13), looks::kPlain, this)) {
  setAccessibleName(texts.tr("address.name"));
  text_->setReadOnly(true);
  text_->setFrame(false);
  text_->setAccessibleName(texts.tr("address.name"));
  QPalette palette = text_->palette();
  palette.setColor(QPalette::Base, Qt::transparent);
  text_->setPalette(palette);
  text_->installEventFilter(this);
  network_->hide();

  setScale(1);

  auto* const row = new QHBoxLayout(this);
  row->setContentsMargins(0, 0, 0, 0);
  row->setSpacing(10);
  row->addStretch();
  row->addWidget(text_);
  row->addWidget(copy_);
  row->addWidget(network_);
  row->addStretch();

  sayingCopied_.setSingleShot(true);
  connect(&sayingCopied_, &QTimer::timeout, this,
          [this] { copy_->setText(texts_.tr("address.copy")); });
  connect(copy_, &QAbstractButton::clicked, this, &AddressView::copy);
  connect(network_, &QAbstractButton::clicked, this, &AddressView::openMenu);
}

void AddressView::showAddress(const QString& text, const std::vector<NetworkChoice>& networks) {
  networks_ = networks;
  if (text_->text() != text) text_->setText(text);
  fitTexts();
  copy_->setAccessibleName(texts_.tr("address.copy_it", text));
  const auto current =
      std::ranges::find(networks_, text.section(u':', 0, 0), &NetworkChoice::address);
  const QString name = current == networks_.end() ? QString() : current->name;
  network_->setText(name + QStringLiteral(" ▾"));
  network_->setAccessibleName(texts_.tr("address.network", name));
  network_->setVisible(networks_.size() > 1);
}

void AddressView::setScale(double scale) {
  text_->setFont(systemFont(18 * scale, QFont::DemiBold));
  for (PushButton* button : {copy_, network_}) button->setFont(systemFont(13 * scale));
  fitTexts();
}

void AddressView::fitTexts() {
  constexpr int kCursorAndMargins = 12;
  text_->setFixedWidth(text_->fontMetrics().horizontalAdvance(text()) + kCursorAndMargins);
  // As wide as the longer of its two texts.
  copy_->setFixedWidth(std::max(copy_->sizeFor(texts_.tr("address.copy")).width(),
                                copy_->sizeFor(texts_.tr("address.copied")).width()));
}

void AddressView::copy() {
  if (text().isEmpty()) return;
  QGuiApplication::clipboard()->setText(text());
  copy_->setText(texts_.tr("address.copied"));
  sayingCopied_.start(std::chrono::milliseconds(1500));
}

/// Copying the selection gives the same feedback as the button.
bool AddressView::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() != QEvent::KeyPress ||
      !static_cast<QKeyEvent*>(event)->matches(QKeySequence::Copy)) {
    return ContainerView::eventFilter(watched, event);
  }
  const QString selected = text_->selectedText();
  copy();
  if (!selected.isEmpty()) QGuiApplication::clipboard()->setText(selected);
  return true;
}

void AddressView::openMenu() {
  auto* const menu = new QMenu(network_);
  menu->setAttribute(Qt::WA_DeleteOnClose);
  for (const NetworkChoice& network : networks_) {
    QAction* const action = menu->addAction(network.name + QStringLiteral("   ") + network.address);
    action->setCheckable(true);
    action->setChecked(text().section(u':', 0, 0) == network.address);
    connect(action, &QAction::triggered, this,
            [this, address = network.address] { emit networkChosen(address); });
    if (action->isChecked()) menu->setActiveAction(action);
  }
  menu->popup(network_->mapToGlobal(QPoint(0, network_->height())));
}

}  // namespace quorin::app
