#include "app/options.h"

#include <gtest/gtest.h>

namespace quorin::app {
namespace {

TEST(Options, AreReadInBothSpellings) {
  const auto options = parseOptions({"quorin-stream", "--start", "wifi", "--port=9100", "--address",
                                     "10.0.0.5", "--language", "es", "--verbose"});
  ASSERT_TRUE(options);
  EXPECT_EQ(options->action, Options::Action::kRun);
  EXPECT_EQ(options->start, StartMode::kWiFi);
  EXPECT_EQ(options->port, 9100);
  EXPECT_EQ(options->address, QStringLiteral("10.0.0.5"));
  EXPECT_EQ(options->language, QStringLiteral("es"));
  EXPECT_TRUE(options->verbose);

  const auto others = parseOptions({"quorin-stream", "--start=cable"});
  ASSERT_TRUE(others);
  EXPECT_EQ(others->start, StartMode::kCable);
}

TEST(Options, WhatIsNotUnderstoodIsNamed) {
  struct Case {
    QStringList arguments;
    QString named;
  };
  for (const auto& [arguments, named] : {
           Case{{"--start", "radio"}, "radio"},
           Case{{"--start"}, "'--start' lacks"},
           Case{{"--json=x", "--diagnose"}, "'--json' lacks its value, or takes none"},
           Case{{"--language", "de"}, "de"},
           Case{{"--prot", "9"}, "prot"},
           Case{{"--port", "abc"}, "abc"},
           Case{{"--port", "9000x"}, "9000x"},
           Case{{"--port", "0"}, "65535"},
           Case{{"--port", "70000"}, "70000"},
           Case{{"--address", "home"}, "home"},
           Case{{"wifi"}, "wifi"},
           Case{{"--json"}, "--diagnose"},
       }) {
    const auto options = parseOptions(QStringList{"quorin-stream"} + arguments);
    ASSERT_FALSE(options) << qPrintable(arguments.join(' '));
    EXPECT_TRUE(options.error().contains(named)) << qPrintable(options.error());
    EXPECT_TRUE(options.error().endsWith("Try quorin-stream --help.")) << "in one line";
  }
}

}  // namespace
}  // namespace quorin::app
