#include "app/background.h"

#include "core/simulated_scheduler.h"

#include <gmock/gmock.h>

#include <QAction>

namespace quorin::app {
namespace {

TEST(StreamNews, NotifiesOfChangesWhileTheWindowIsHidden) {
  const StreamState menu{.windowShown = false};
  const auto listening = [](std::size_t phones) {
    return StreamState{.windowShown = false, .streaming = true, .listeners = phones};
  };
  const StreamState shown{.streaming = true, .listeners = 1};
  const StreamState busy{.windowShown = false, .streaming = true, .problem = "Port 9000 is in use"};
  const StreamState guard{.windowShown = false, .blocked = TrKey("notice.stopped.info")};
  const struct {
    const char* situation;
    std::vector<StreamState> steps;
    std::vector<std::string> titles;
  } cases[] = {
      {"the window is visible", {shown, {.streaming = true, .listeners = 2}, {}}, {}},
      {"closed without a stream", {{}, menu}, {"goes_on"}},
      {"closed twice", {shown, listening(1), shown, listening(1)}, {"goes_on"}},
      {"phones come and go",
       {shown, listening(1), listening(3), listening(2), listening(2)},
       {"goes_on", "joined", "left"}},
      {"the stream is stopped on purpose", {shown, listening(1), menu}, {"goes_on"}},
      {"the devices change", {shown, listening(1), guard, guard}, {"goes_on", "stopped"}},
      {"the port is lost, and found",
       {shown, listening(1), busy, busy, listening(1)},
       {"goes_on", "not_started", "joined"}},
  };
  for (const auto& [situation, steps, expected] : cases) {
    StreamNews rules;
    std::vector<std::string> titles;
    for (const auto& step : steps) {
      if (const auto title = rules.take(step)) {
        titles.push_back(std::string(title->name()).substr(std::string("notice.").size()));
      }
    }
    EXPECT_EQ(titles, expected) << situation;
  }
}

TEST(Background, TheMenuOfTheIconActs) {
  dispatch::SimulatedScheduler time;
  const Texts texts({"en"});
  QStringList done;
  Background background(time.backgroundQueue(), texts,
                        {.show = [&](const QString&) { done << "show"; },
                         .quit = [&](const QString&) { done << "quit"; },
                         .stop = [&] { done << "stop"; },
                         .playHere = [&](bool on) { done << (on ? "play" : "mute"); }});
  const auto clickAll = [&] {
    done.clear();
    for (auto* const action : background.menu().actions()) {
      if (action->isVisible()) action->trigger();
    }
    return done;
  };
  EXPECT_EQ(clickAll(), QStringList({"show", "quit"}));
  EXPECT_EQ(background.menu().actions()[0]->text(), "Nothing is sent");
  background.update({.streaming = true, .listeners = 2, .lent = true});
  EXPECT_EQ(clickAll(), QStringList({"show", "play", "stop", "quit"}));
  EXPECT_EQ(background.menu().actions()[0]->text(), "2 phones listen");
}

}  // namespace
}  // namespace quorin::app
