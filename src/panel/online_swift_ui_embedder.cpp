#include "panel/online_swift_ui_embedder.h"

namespace quorin::panel {

std::unique_ptr<QWidget> OnlineSwiftUIEmbedder::makeHostingView(const Surroundings& surroundings) {
  return std::make_unique<ContentView>(
      surroundings.scheduler,
      std::make_unique<UDPAudioServer>(
          surroundings.scheduler, UDPAudioServer::Parts{.makeCapture = surroundings.makeCapture}),
      surroundings.text);
}

void OnlineSwiftUIEmbedder::addTo(ViewRegistry& registry, const Surroundings& surroundings) {
  registry.add("OnlineSwiftUIEmbedder", "makeHostingView",
               [surroundings] { return makeHostingView(surroundings); });
}

}  // namespace quorin::panel
