#include "platform/desktop/settings.h"

#include "support/eventually.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <QByteArray>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace quorin::desktop {
namespace {

using enum SettingsPage;

TEST(OpenSettings, StartsTheDesktopsPageElseAMixerElseAnySettings) {
  const struct {
    const char* situation;
    const char* desktop;
    std::vector<std::string> installed;
    SettingsPage page;
    std::string started;  ///< empty: nothing could be
  } cases[] = {
      {"Debian 12's GNOME",
       "GNOME",
       {"gnome-control-center", "gnome-microphone-panel.desktop"},
       kMicrophonePrivacy,
       "gnome-control-center microphone"},
      {"a later one",
       "ubuntu:GNOME",
       {"gnome-control-center"},
       kMicrophonePrivacy,
       "gnome-control-center privacy microphone"},
      {"Plasma",
       "KDE",
       {"kcmshell6", "kcm_pulseaudio.desktop"},
       kSound,
       "kcmshell6 kcm_pulseaudio"},
      {"Plasma without it", "KDE", {"pavucontrol-qt"}, kSoundInput, "pavucontrol-qt -t 4"},
      {"another desktop's settings", "sway", {"gnome-control-center"}, kSound, ""},
  };
  const QByteArray path = qgetenv("PATH");
  for (const auto& [situation, desktop, installed, page, started] : cases) {
    SCOPED_TRACE(situation);
    const test::TemporaryDirectory folder;
    const auto written = folder.path() / "written";
    std::filesystem::create_directory(folder.path() / "applications");
    for (const auto& name : installed) {
      const bool isEntry = name.ends_with(".desktop");
      const auto file = folder.path() / (isEntry ? "applications/" + name : name);
      std::ofstream(file) << "#!/bin/sh\necho " << name << " \"$@\" >" << written << '\n';
      std::filesystem::permissions(file, std::filesystem::perms::owner_all);
    }
    qputenv("PATH", folder.path().c_str());
    qputenv("XDG_DATA_HOME", folder.path().c_str());
    qputenv("XDG_CURRENT_DESKTOP", desktop);
    EXPECT_EQ(openSettings(page), !started.empty());
    const auto line = started + '\n';
    EXPECT_TRUE(started.empty() ||
                test::eventually([&] { return test::contentOf(written) == line; }))
        << test::contentOf(written);
    qputenv("PATH", path);
  }
}

}  // namespace
}  // namespace quorin::desktop
