#include "app/options.h"

#include "ui/texts.h"

#include <gtest/gtest.h>

#include <QCoreApplication>

namespace quorin::app {
namespace {

TEST(Options, AnErrorNamesTheArgumentInTheUsersLanguage) {
  struct Case {
    QStringList arguments;
    QString error;
    const char* language = "en";
  };
  for (const auto& [arguments, error, language] : {
           Case{{"--start", "radio"}, "radio"},
           Case{{"--start"}, "'--start' lacks"},
           Case{{"--json=x", "--diagnose"}, "'--json' lacks its value, or takes none"},
           Case{{"--language", "de"}, "de"},
           Case{{"--prot", "9"}, "prot"},
           Case{{"--prot", "9"}, "No existe la opción «prot»", "es"},
           Case{{"--port", "abc"}, "abc"},
           Case{{"--port", "9000x"}, "9000x"},
           Case{{"--port", "0"}, "65535"},
           Case{{"--port", "70000"}, "70000"},
           Case{{"--address", "home"}, "home"},
           Case{{"wifi"}, "wifi"},
           Case{{"--json"}, "--diagnose"},
       }) {
    Texts texts({language});
    QCoreApplication::installTranslator(&texts.translator());
    const auto options = parseOptions(QStringList{"quorin-stream"} + arguments);
    ASSERT_FALSE(options) << qPrintable(arguments.join(' '));
    EXPECT_TRUE(options.error().contains(error)) << qPrintable(options.error());
    EXPECT_TRUE(options.error().endsWith("quorin-stream --help.")) << "in one line";
  }
}

}  // namespace
}  // namespace quorin::app
