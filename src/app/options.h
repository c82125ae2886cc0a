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
  bool setUp = false;                   ///< set the device up at the start
  StartMode start = StartMode::kMenu;   ///< entered once the guard allows it
  std::optional<std::uint16_t> port{};  ///< fills the port field
  std::optional<QString> address{};     ///< which network's code to show, if there are several
  std::optional<QString> language{};    ///< "en" or "es", in place of the system's
  bool verbose = false;
  bool json = false;  ///< of --diagnose
};

/// Exit status for an invalid command line.
inline constexpr int kUsageError = 2;

/// `arguments` include the program's name. The error is one line for the user, in the language of
/// the installed translator.
std::expected<Options, QString> parseOptions(const QStringList& arguments);

/// The value of --language, even if the other arguments are invalid.
QString languageIn(const QStringList& arguments);

/// Needs a QCoreApplication, for the program's name.
QString helpText();

}  // namespace quorin::app
