#include <gmock/gmock.h>

#include <QApplication>

/// The main of tests that need widgets or the main queue: as gmock's own, with an application
/// around it.
int main(int argc, char** argv) {
  const QApplication application(argc, argv);
  testing::InitGoogleMock(&argc, argv);
  return RUN_ALL_TESTS();
}
