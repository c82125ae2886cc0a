#pragma once

#include "support/child_process.h"
#include "support/eventually.h"
#include "support/temporary_directory.h"

#include <filesystem>
#include <fstream>
#include <string>

namespace quorin::test {

/// A message bus of this test's own, which starts no services.
class PrivateBus {
 public:
  static bool isInstalled() { return hasProgram("dbus-daemon"); }

  PrivateBus() {
    const auto config = folder_.path() / "bus.conf";
    std::ofstream(config) << R"(<busconfig>
  <type>session</type>
  <listen>)" << address() << R"(</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
)";
    // It tells its address once it listens: the socket is there a moment earlier.
    const auto told = folder_.path() / "told";
    daemon_ = ChildProcess({.arguments = {"dbus-daemon", "--config-file=" + config.string(),
                                          "--nofork", "--print-address=1"},
                            .environment = {},
                            .output = told});
    eventually([&] {
      std::error_code none;
      return std::filesystem::file_size(told, none) > 0 && !none;
    });
  }

  std::string address() const { return "unix:path=" + (folder_.path() / "bus").string(); }

 private:
  TemporaryDirectory folder_;
  ChildProcess daemon_;
};

}  // namespace quorin::test
