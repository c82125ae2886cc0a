#pragma once

#include <QString>
#include <QStringList>
#include <cstdint>
#include <expected>
#include <optional>

namespace quorin::app {

enum class StartMode { kMenu, kWiFi, kCable };

/// What the command line asks of `quorin-stream`.
struct Options {
  enum class Action { kRun, kShowHelp, kShowVersion, kDiagnose };
  Action action = Action::kRun;
  bool setUp = false;                   ///< as if the guard's button were pressed at the start
  StartMode start = StartMode::kMenu;   ///< entered as soon as the guard lets it
  std::optional<std::uint16_t> port{};  ///< fills the port field
  std::optional<QString> address{};   ///< the network to show the code of, where there are several
  std::optional<QString> language{};  ///< "en" or "es", in place of the system's
  bool verbose = false;
  bool json = false;  ///< of --diagnose
};

/// Exit status of a command line that cannot be understood.
inline constexpr int kUsageError = 2;

/// `arguments` with the program's name first. The error is one line for who typed them, in the
/// language of the installed translator.
std::expected<Options, QString> parseOptions(const QStringList& arguments);

/// What follows --language in `arguments`, also where they cannot be understood otherwise.
QString languageIn(const QStringList& arguments);

/// Needs a QCoreApplication, which knows the program's name.
QString helpText();

}  // namespace quorin::app
