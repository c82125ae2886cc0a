#include "platform/desktop/settings.h"

#include "support/eventually.h"
#include "support/temporary_directory.h"

#include <gmock/gmock.h>

#include <QByteArray>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>

namespace quorin::desktop {
namespace {

using ::testing::ElementsAreArray;
using enum SettingsPage;

TEST(SettingsCommands, TheDesktopsPageThenAMixerThenAnySettings) {
  const struct {
    const char* situation;
    std::string desktop;
    std::set<std::string, std::less<>> installed;
    SettingsPage page;
    std::vector<Command> commands;
  } cases[] = {
      {"Debian 12's GNOME",
       "GNOME",
       {"gnome-control-center", "gnome-microphone-panel.desktop", "pavucontrol"},
       kMicrophonePrivacy,
       {{"gnome-control-center", {"microphone"}},
        {"gnome-control-center", {"privacy", "microphone"}},
        {"pavucontrol", {}},
        {"gnome-control-center", {}}}},
      {"a later GNOME under another name",
       "ubuntu:GNOME",
       {"gnome-control-center"},
       kMicrophonePrivacy,
       {{"gnome-control-center", {"privacy", "microphone"}}, {"gnome-control-center", {}}}},
      {"GNOME's sound",
       "GNOME",
       {"gnome-control-center", "gnome-microphone-panel.desktop"},
       kSound,
       {{"gnome-control-center", {"sound"}}, {"gnome-control-center", {}}}},
      {"Plasma without its settings program",
       "KDE",
       {"kcmshell6", "kcm_pulseaudio.desktop"},
       kMicrophonePrivacy,
       {{"kcmshell6", {"kcm_pulseaudio"}}}},
      {"Plasma without its sound page",
       "KDE",
       {"systemsettings", "pavucontrol-qt"},
       kSound,
       {{"pavucontrol-qt", {"-t", "3"}}, {"systemsettings", {}}}},
      {"another desktop's settings are of no use", "sway", {"gnome-control-center"}, kSound, {}},
      {"a mixer for the input", "", {"pavucontrol"}, kSoundInput, {{"pavucontrol", {"-t", "4"}}}},
      {"a desktop whose name only contains another's", "KDEGNOME", {"systemsettings"}, kSound, {}},
  };
  for (const auto& [situation, desktop, installed, page, commands] : cases) {
    SCOPED_TRACE(situation);
    const auto has = [&names = installed](std::string_view name) { return names.contains(name); };
    EXPECT_THAT(settingsCommands(page, desktop, {.program = has, .desktopEntry = has}),
                ElementsAreArray(commands));
  }
}

/// A PATH that leads to one folder, and to nothing else.
class OpenSettings : public ::testing::Test {
 protected:
  OpenSettings() {
    qputenv("PATH", folder.path().c_str());
    qputenv("XDG_CURRENT_DESKTOP", "GNOME");
  }
  ~OpenSettings() override { qputenv("PATH", path_); }

  void install(const char* program, const std::string& content) const {
    const auto file = folder.path() / program;
    std::ofstream(file) << content;
    std::filesystem::permissions(file, std::filesystem::perms::owner_all);
  }

  test::TemporaryDirectory folder;

 private:
  const QByteArray path_ = qgetenv("PATH");
};

TEST_F(OpenSettings, StartsTheProgramWithItsPage) {
  const auto written = folder.path() / "written";
  install("gnome-control-center", "#!/bin/sh\necho \"$@\" >'" + written.string() + "'\n");
  EXPECT_TRUE(openSettings(kSound));
  EXPECT_TRUE(test::eventually([&] { return test::contentOf(written) == "sound\n"; }));
}

TEST_F(OpenSettings, SaysThatNothingIsThereOrCouldBeStarted) {
  EXPECT_FALSE(openSettings(kSound));
  EXPECT_FALSE(openSettings(kMicrophonePrivacy));
  install("pavucontrol", "#!/nonexistent/interpreter\n");
  EXPECT_FALSE(openSettings(kSound));
}

}  // namespace
}  // namespace quorin::desktop
