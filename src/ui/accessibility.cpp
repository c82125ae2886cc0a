#include "ui/accessibility.h"

#include "ui/containers.h"
#include "ui/controls.h"

#include <QAccessible>
#include <QAccessibleWidget>

namespace quorin::app {
namespace {

/// Qt asks once for each class of the object, from its own up to QObject.
QAccessibleInterface* makeInterface(const QString& className, QObject* object) {
  auto* const widget = qobject_cast<QWidget*>(object);
  if (!widget) return nullptr;
  const auto is = [&className](const QMetaObject& type) {
    return className == QLatin1String(type.className());
  };
  if (is(ImageView::staticMetaObject) || is(DotView::staticMetaObject) ||
      is(GradientView::staticMetaObject)) {
    return new QAccessibleWidget(widget, QAccessible::Graphic);
  }
  if (is(ContainerView::staticMetaObject)) {
    return new QAccessibleWidget(widget, QAccessible::Grouping);
  }
  return nullptr;
}

}  // namespace

void installAccessibleRoles() {
  QAccessible::installFactory(makeInterface);
}

}  // namespace quorin::app
