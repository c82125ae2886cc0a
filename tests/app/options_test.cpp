#include "app/options.h"

#include <gtest/gtest.h>

namespace quorin::app {
namespace {

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
