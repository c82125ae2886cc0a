#pragma once

#include <QString>
#include <QVBoxLayout>
#include <QWidget>

namespace quorin::panel {

/// A rounded box with a symbol and a title above its content.
class TitledBox : public QWidget {
 public:
  TitledBox(const QString& title, const QString& symbolName);

  /// Where the content goes, from top to bottom.
  QVBoxLayout& content() { return *content_; }

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  QWidget* title_;
  QVBoxLayout* content_;
};

}  // namespace quorin::panel
