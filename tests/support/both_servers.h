#pragma once

#include "support/private_audio.h"

#include <gtest/gtest.h>

#include <memory>

namespace quorin::test {

/// A test on PulseAudio and on PipeWire, each a server of its own for each test.
class OnBothServers : public testing::TestWithParam<const char*> {
 protected:
  explicit OnBothServers(bool script = false) : server_(makePrivateServer(GetParam(), script)) {}

  void SetUp() override {
    if (!server_) GTEST_SKIP() << "no such audio server here";
    ASSERT_TRUE(server_->start()) << server_->output();
  }

  const std::unique_ptr<PrivateAudioServer> server_;
};

inline const auto kBothServers = testing::Values("PulseAudio", "PipeWire");

}  // namespace quorin::test
