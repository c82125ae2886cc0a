#pragma once

#include <QByteArray>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <string>

namespace quorin::testing {

/// A message bus of this test's own, which starts no services.
class PrivateBus {
 public:
  PrivateBus() {
    QFile config(folder_.filePath("bus.conf"));
    if (!config.open(QIODevice::WriteOnly)) return;
    config.write(R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:path=)" +
                 folder_.filePath("bus").toUtf8() + R"(</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
)");
    config.close();
    daemon_.start("dbus-daemon",
                  {"--config-file=" + config.fileName(), "--nofork", "--print-address"});
    while (!address_.endsWith('\n') && daemon_.waitForReadyRead(10000)) {
      address_ += daemon_.readAllStandardOutput();
    }
  }
  ~PrivateBus() {
    daemon_.kill();
    daemon_.waitForFinished();
  }

  std::string address() const { return address_.trimmed().toStdString(); }

 private:
  QTemporaryDir folder_;
  QProcess daemon_;
  QByteArray address_;
};

}  // namespace quorin::testing
