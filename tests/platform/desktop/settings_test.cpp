#include "platform/desktop/settings.h"

#include "support/eventually.h"

#include <gmock/gmock.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <set>

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
      {"Plasma 5",
       "KDE",
       {"systemsettings5", "kcm_pulseaudio.desktop"},
       kSound,
       {{"systemsettings5", {"kcm_pulseaudio"}}, {"systemsettings5", {}}}},
      {"Plasma without its settings program",
       "KDE",
       {"kcmshell6", "kcm_pulseaudio.desktop"},
       kMicrophonePrivacy,
       {{"kcmshell6", {"kcm_pulseaudio"}}}},
      {"Plasma without its sound page",
       "KDE",
       {"systemsettings", "pavucontrol-qt"},
       kSound,
       {{"pavucontrol-qt", {}}, {"systemsettings", {}}}},
      {"XFCE",
       "XFCE",
       {"pavucontrol", "xfce4-settings-manager"},
       kSound,
       {{"pavucontrol", {}}, {"xfce4-settings-manager", {}}}},
      {"another desktop's settings are of no use", "sway", {"gnome-control-center"}, kSound, {}},
      {"no desktop but a mixer", "", {"pavucontrol"}, kSound, {{"pavucontrol", {}}}},
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
  void SetUp() override {
    ASSERT_TRUE(folder.isValid());
    qputenv("PATH", folder.path().toUtf8());
    qputenv("XDG_CURRENT_DESKTOP", "GNOME");
  }
  void TearDown() override { qputenv("PATH", path_); }

  void install(const char* program, const QByteArray& content) const {
    QFile file(folder.filePath(program));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(content);
    file.setPermissions(QFile::ReadOwner | QFile::ExeOwner);
  }
  /// What a started program has written, once it has.
  QByteArray written() const {
    QFile file(folder.filePath("written"));
    test::eventually([&] { return file.open(QIODevice::ReadOnly); });
    return file.readAll();
  }

  QTemporaryDir folder;

 private:
  const QByteArray path_ = qgetenv("PATH");
};

TEST_F(OpenSettings, StartsTheProgramWithItsPage) {
  install("gnome-control-center", "#!/bin/sh\necho \"$@\" >'" + folder.filePath("new").toUtf8() +
                                      "'\n/bin/mv '" + folder.filePath("new").toUtf8() + "' '" +
                                      folder.filePath("written").toUtf8() + "'\n");
  EXPECT_TRUE(openSoundSettings());
  EXPECT_EQ(written(), "sound\n");
}

TEST_F(OpenSettings, SaysThatNothingIsThereOrCouldBeStarted) {
  EXPECT_FALSE(openSoundSettings());
  EXPECT_FALSE(openMicPrivacySettings());
  install("pavucontrol", "#!/nonexistent/interpreter\n");
  EXPECT_FALSE(openSoundSettings());
}

}  // namespace
}  // namespace quorin::desktop
