#include "ui/accessibility.h"

#include "ui/containers.h"
#include "ui/controls.h"
#include "ui/stream_controls.h"

#include <QAccessible>
#include <QAccessibleWidget>

namespace quorin::app {
namespace {

/// Before Qt 6.8 had announcements: a notification, which is read when it appears.
class Notice : public QWidget {
  Q_OBJECT
 public:
  using QWidget::QWidget;
};

/// Says the level only when it is asked for.
class LevelInterface : public QAccessibleWidget {
 public:
  explicit LevelInterface(LevelMeter* meter)
      : QAccessibleWidget(meter, QAccessible::Indicator), meter_(*meter) {}

  QString text(QAccessible::Text kind) const override {
    if (kind != QAccessible::Description) return QAccessibleWidget::text(kind);
    return QStringLiteral("%1 dB").arg(meter_.decibels());
  }

 private:
  const LevelMeter& meter_;
};

/// Qt asks once for each class of the object, from its own up to QObject.
QAccessibleInterface* makeInterface(const QString& className, QObject* object) {
  auto* const widget = qobject_cast<QWidget*>(object);
  if (!widget) return nullptr;
  const auto is = [&className](const QMetaObject& type) {
    return className == QLatin1String(type.className());
  };
  if (is(NonInteractiveImageView::staticMetaObject) || is(GradientView::staticMetaObject)) {
    return new QAccessibleWidget(widget, QAccessible::Graphic);
  }
  if (is(Notice::staticMetaObject)) return new QAccessibleWidget(widget, QAccessible::Notification);
  if (is(ContainerView::staticMetaObject)) {
    return new QAccessibleWidget(widget, QAccessible::Grouping);
  }
  if (is(LevelMeter::staticMetaObject))
    return new LevelInterface(qobject_cast<LevelMeter*>(widget));
  return nullptr;
}

}  // namespace

void installAccessibleRoles() {
  QAccessible::installFactory(makeInterface);
}

void announce(QWidget& window, const QString& text) {
  if (!QAccessible::isActive() || text.isEmpty()) return;
#if QT_VERSION >= QT_VERSION_CHECK(6, 8, 0)
  QAccessibleAnnouncementEvent event(&window, text);
  QAccessible::updateAccessibility(&event);
#else
  auto* notice = window.findChild<Notice*>(QString(), Qt::FindDirectChildrenOnly);
  if (!notice) notice = new Notice(&window);
  notice->setGeometry(0, 0, 1, 1);
  notice->hide();
  notice->setAccessibleName(text);
  notice->show();
#endif
}

}  // namespace quorin::app

#include "accessibility.moc"
