#pragma once

#include <QCheckBox>
#include <QTimer>
#include <QWidget>
#include <functional>

/// Controls of the pages that stream.
namespace quorin::app {

/// A check box in the window's own colours.
class CheckBox : public QCheckBox {
  Q_OBJECT
 public:
  CheckBox(const QString& text, QWidget* parent);
};

/// A thin level meter: the peak since the last update, over a range of 60 dB. Updates only while
/// visible, and repaints only on change. A screen reader can read the level, but is not told of
/// every change.
class LevelMeter : public QWidget {
  Q_OBJECT
 public:
  LevelMeter(const QString& name, QWidget* parent);

  /// `takePeak` gives the largest sample, 0 to 1, since it was last called.
  void setSource(std::function<float()> takePeak) { takePeak_ = std::move(takePeak); }

  int decibels() const;  ///< as shown: 0 for full scale, -60 for silence

 protected:
  void showEvent(QShowEvent* event) override;
  void hideEvent(QHideEvent* event) override;
  void paintEvent(QPaintEvent* event) override;

 private:
  void look();

  std::function<float()> takePeak_;
  int level_ = 0;  ///< dB above silence
  QTimer timer_;
};

}  // namespace quorin::app
