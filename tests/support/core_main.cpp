#include <gmock/gmock.h>

#include <QCoreApplication>

/// For tests that need the main queue of the real scheduler.
int main(int argc, char** argv) {
  const QCoreApplication application(argc, argv);
  testing::InitGoogleMock(&argc, argv);
  return RUN_ALL_TESTS();
}
