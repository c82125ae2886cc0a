#pragma once

#include "panel/udp_audio_server.h"
#include "core/scheduler.h"

#include <QLabel>
#include <QPushButton>
#include <QString>
#include <QWidget>
#include <functional>
#include <memory>

namespace quorin::panel {

class DotView;
class RunningView;

/// A localized text by its key.
using TextLookup = std::function<QString(const QString& key)>;

/// The whole panel: shows one server, which it owns, and starts and stops it. Its own texts are
/// Spanish in every language; only the pairing instructions are looked up.
///
/// Its views are made when it is first shown: a panel that stays hidden costs no start-up time.
class ContentView : public QWidget {
 public:
  ContentView(dispatch::Scheduler& scheduler, std::unique_ptr<UDPAudioServer> server,
              TextLookup text);
  ~ContentView() override;

  UDPAudioServer& server() { return *server_; }

  QSize sizeHint() const override { return {560, 860}; }

 protected:
  void showEvent(QShowEvent* event) override;

 private:
  void makeViews();
  QWidget* makeHeader();
  QWidget* makeScrollArea();
  QWidget* makeButtonBand();
  void toggleServer();
  void refreshSoon();
  void refresh();

  dispatch::Scheduler& scheduler_;
  std::unique_ptr<UDPAudioServer> server_;
  TextLookup text_;
  ObservableObject::Subscription subscription_;
  bool refreshIsDue_ = false;
  dispatch::Scope scope_;

  // None before the first show.
  DotView* statusDot_ = nullptr;
  QLabel* statusText_ = nullptr;
  QWidget* stoppedView_ = nullptr;
  RunningView* runningView_ = nullptr;
  QPushButton* button_ = nullptr;
};

}  // namespace quorin::panel
