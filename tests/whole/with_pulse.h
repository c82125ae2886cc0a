#pragma once

#include "support/private_audio.h"
#include "whole/whole_program.h"

#include <gtest/gtest.h>

#include <string>

namespace quorin::whole {

/// A PulseAudio server of the test's own whose default devices are right, and an address.
class WithPulse : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!test::PrivatePulse::isInstalled()) GTEST_SKIP() << "no such audio server here";
    ASSERT_TRUE(server_.start()) << server_.output();
    ASSERT_TRUE(server_.addNullSink("quorin", "Quorin Audio", "norewinds=1"));
    ASSERT_TRUE(server_.addNullSink("speaker", "Speaker"));
    useDevice("quorin");
    server_.useInThisProcess();
    ASSERT_TRUE(ip("address add 10.11.0.2/24 dev eth0"));
  }
  void TearDown() override { ip("address flush dev eth0"); }

  void useDevice(const std::string& name) {
    ASSERT_TRUE(server_.setDefaultSink(name));
    ASSERT_TRUE(server_.setDefaultSource(name + ".monitor"));
  }

  test::PrivatePulse server_;
};

}  // namespace quorin::whole
