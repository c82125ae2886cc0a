#pragma once

#include "panel/content_view.h"
#include "panel/udp_audio_server.h"
#include "panel/view_registry.h"
#include "core/scheduler.h"

#include <QWidget>
#include <memory>

namespace quorin::panel {

/// Wraps the panel, with a new server of its own, in a view for another page.
struct OnlineSwiftUIEmbedder {
  struct Surroundings {
    dispatch::Scheduler& scheduler;  ///< outlives every view
    CaptureFactory makeCapture;
    TextLookup text;
  };

  static std::unique_ptr<QWidget> makeHostingView(const Surroundings& surroundings);

  /// Makes it known under its name, "OnlineSwiftUIEmbedder" with "makeHostingView".
  static void addTo(ViewRegistry& registry, const Surroundings& surroundings);
};

}  // namespace quorin::panel
