#pragma once

#include "support/both_servers.h"
#include "whole/whole_program.h"

#include <memory>
#include <string>

namespace quorin::whole {

/// The whole program with an address, and an audio server of the test's own with two devices of the
/// right name, "quorin" (the default) and "quorin2", and the wrong one "speaker".
class WholeTest : public test::OnBothServers {
 protected:
  void SetUp() override {
    OnBothServers::SetUp();
    if (IsSkipped()) return;
    addDevices();
    server_->useInThisProcess();
    ip("address add 10.11.0.2/24 dev eth0");
  }
  void TearDown() override { ip("address flush dev eth0"); }

  void addDevices() {
    ASSERT_TRUE(server_->addNullSink("quorin", "Quorin Audio", "norewinds=1"));
    ASSERT_TRUE(server_->addNullSink("quorin2", "Quorin Audio 2", "norewinds=1"));
    ASSERT_TRUE(server_->addNullSink("speaker", "Speaker", "norewinds=1"));
    useDevice("quorin");
  }
  void useDevice(const std::string& name) {
    ASSERT_TRUE(server_->useDevices(name, name + ".monitor"));
  }
  void start(app::StartMode mode, const char* untilShown) {
    program_ = std::make_unique<WholeProgram>(mode);
    ASSERT_TRUE(program_->becomes(untilShown));
  }
  /// A phone that has joined and receives sound.
  Phone& join(const std::string& address = "10.11.0.2") {
    auto& phone = *program_->phones.emplace_back(std::make_unique<Phone>(address));
    phone.says("<<HELLO>>");
    EXPECT_TRUE(program_->until([&] { return phone.arrivals.size() > 25; }));
    return phone;
  }

  std::unique_ptr<WholeProgram> program_;
};

inline const auto kPulseAudioAlone = testing::Values("PulseAudio");
inline std::string serverName(const testing::TestParamInfo<const char*>& info) {
  return info.param;
}

}  // namespace quorin::whole
