#pragma once

#include "panel/udp_audio_server.h"
#include "ui/controls.h"

#include <QString>
#include <QWidget>
#include <memory>
#include <utility>

namespace quorin::panel {

class RunningView;

/// The whole panel: shows one server, which it owns, and starts and stops it. Its own texts are
/// Spanish in every language; the pairing instructions are in the user's.
///
/// Its views are made when it is first shown: a panel that stays hidden costs no start-up time.
class ContentView : public QWidget {
 public:
  ContentView(std::unique_ptr<UDPAudioServer> server, QString pairingInstructions);

  UDPAudioServer& server() { return *server_; }

  QSize sizeHint() const override { return {560, 860}; }

 protected:
  void showEvent(QShowEvent* event) override;

 private:
  void makeViews();
  QWidget* makeHeader();
  QWidget* makeStoppedView();
  QWidget* makeScrollArea();
  QWidget* makeButtonBand();
  void toggleServer();
  void refresh();

  std::unique_ptr<UDPAudioServer> server_;
  QString pairingInstructions_;

  // None before the first show.
  app::NonInteractiveImageView* statusDot_ = nullptr;
  app::NonInteractiveLabel* statusText_ = nullptr;
  QWidget* stoppedView_ = nullptr;
  app::NonInteractiveLabel* failure_ = nullptr;
  RunningView* runningView_ = nullptr;
  app::PushButton* button_ = nullptr;
  app::NonInteractiveImageView* buttonSymbol_ = nullptr;
  app::NonInteractiveLabel* buttonText_ = nullptr;
};

/// Wraps the panel, with a new server of its own, in a view for another page.
struct OnlineSwiftUIEmbedder {
  /// `scheduler` outlives the view.
  static std::unique_ptr<QWidget> makeHostingView(dispatch::Scheduler& scheduler,
                                                  UDPAudioServer::Parts parts,
                                                  QString pairingInstructions) {
    return std::make_unique<ContentView>(
        std::make_unique<UDPAudioServer>(scheduler, std::move(parts)),
        std::move(pairingInstructions));
  }
};

}  // namespace quorin::panel
