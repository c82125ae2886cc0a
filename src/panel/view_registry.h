#pragma once

#include <QString>
#include <QWidget>
#include <functional>
#include <map>
#include <memory>
#include <utility>

namespace quorin::panel {

/// Views that a page places without knowing what they are, found by the names of a class and of
/// its factory. Main thread.
class ViewRegistry {
 public:
  using Factory = std::function<std::unique_ptr<QWidget>()>;

  void add(const QString& className, const QString& factoryName, Factory factory) {
    factories_[{className, factoryName}] = std::move(factory);
  }

  /// A new view; null when there is no such class, no such factory, or it has nothing to give.
  std::unique_ptr<QWidget> make(const QString& className, const QString& factoryName) const {
    const auto found = factories_.find({className, factoryName});
    return found == factories_.end() ? nullptr : found->second();
  }

 private:
  std::map<std::pair<QString, QString>, Factory> factories_;
};

}  // namespace quorin::panel
