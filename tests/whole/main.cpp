#include "whole/whole_program.h"

#include <gmock/gmock.h>

#include <QApplication>

int main(int argc, char** argv) {
  testing::InitGoogleMock(&argc, argv);
  if (!GTEST_FLAG_GET(list_tests)) quorin::whole::enterNetworkOrSkip();
  const QApplication application(argc, argv);
  QApplication::setQuitOnLastWindowClosed(false);
  return RUN_ALL_TESTS();
}
