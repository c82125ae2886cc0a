#include "app/options.h"

#include "wire/endpoint.h"

#include <QCommandLineParser>
#include <memory>

namespace quorin::app {
namespace {

std::unique_ptr<QCommandLineParser> makeParser() {
  auto parser = std::make_unique<QCommandLineParser>();
  parser->setApplicationDescription(
      qtTrId("Sends the computer's sound to a phone in real time.") + "\n\n" +
      qtTrId("Exit status: 0 when the program ended as asked (with --diagnose: streaming would "
             "work), 1 when it could not run or the running program could not do it, 2 when an "
             "option was not understood."));
  parser->addOptions({
      {"start", qtTrId("Enter that mode as soon as the devices are right."), "wifi|cable"},
      {"set-up", qtTrId("Set the devices up first, as the button \"Set up for me\" does.")},
      {"port", qtTrId("UDP port of the Wi-Fi mode, 1 to 65535 (9000)."), "N"},
      {"address", qtTrId("Show the code of this network, where the computer is in several."), "A"},
      {"language", qtTrId("Language of the texts (the system's)."), "en|es"},
      {"diagnose", qtTrId("Check what streaming needs, print it and exit.")},
      {"json", qtTrId("With --diagnose: print JSON.")},
      {"verbose", qtTrId("Log more to standard error.")},
      {{"h", "help"}, qtTrId("Print this text and exit.")},
      {{"v", "version"}, qtTrId("Print the version and exit.")},
  });
  return parser;
}

// The English sentence is the key of its translation.
std::unexpected<QString> misunderstood(const char* problem, const QString& word) {
  return std::unexpected(qtTrId(problem).arg(word) + ' ' + qtTrId("Try quorin-stream --help."));
}

bool isAddress(const QString& text) {
  return wire::Endpoint::parse(text.toStdString() + ":1").has_value();
}

}  // namespace

std::expected<Options, QString> parseOptions(const QStringList& arguments) {
  const auto parser = makeParser();
  const bool isParsed = parser->parse(arguments);
  if (const auto unknown = parser->unknownOptionNames(); !unknown.isEmpty()) {
    return misunderstood("There is no option '%1'.", unknown.first());
  }
  if (!isParsed) {
    const auto option = parser->errorText().section('\'', 1, 1);  // Qt's message is always English
    return misunderstood("Option '%1' lacks its value, or takes none.", option);
  }
  if (const auto rest = parser->positionalArguments(); !rest.isEmpty()) {
    return misunderstood("Unexpected argument '%1'.", rest.first());
  }
  const auto given = [&parser](const QString& name) {
    return parser->isSet(name) ? std::optional(parser->value(name)) : std::nullopt;
  };
  const auto port = given("port");
  const auto mode = given("start");
  Options options{.setUp = parser->isSet("set-up"),
                  .address = given("address"),
                  .language = given("language"),
                  .verbose = parser->isSet("verbose"),
                  .json = parser->isSet("json")};
  if (port) {  // stricter than the port field, which accepts a leading number
    options.port = port->toUShort();
    if (options.port == 0) {
      return misunderstood("--port needs a number from 1 to 65535, not '%1'.", *port);
    }
  }
  if (mode) {
    if (mode != "wifi" && mode != "cable") {
      return misunderstood("--start knows wifi and cable, not '%1'.", *mode);
    }
    options.start = mode == "wifi" ? StartMode::kWiFi : StartMode::kCable;
  }
  if (options.address && !isAddress(*options.address)) {
    return misunderstood("--address needs one such as 192.168.1.20, not '%1'.", *options.address);
  }
  if (options.language && options.language != "en" && options.language != "es") {
    return misunderstood("--language knows en and es, not '%1'.", *options.language);
  }
  if (options.json && !parser->isSet("diagnose")) {
    return misunderstood("%1 goes with --diagnose.", "--json");
  }
  if (parser->isSet("diagnose")) options.action = Options::Action::kDiagnose;
  if (parser->isSet("version")) options.action = Options::Action::kShowVersion;
  if (parser->isSet("help")) options.action = Options::Action::kShowHelp;
  return options;
}

QString languageIn(const QStringList& arguments) {
  const auto parser = makeParser();
  parser->parse(arguments);
  return parser->value("language");
}

QString helpText() {
  auto text = makeParser()->helpText();
  for (const char* heading : {"Usage:", "[options]", "Options:"}) {  // Qt's own, always English
    text.replace(QLatin1String(heading), qtTrId(heading));
  }
  return text;
}

}  // namespace quorin::app
