#include "app/console.h"

#include "app/appearance.h"

#include <gmock/gmock.h>

#include <QLineEdit>
#include <QScrollBar>
#include <QTest>
#include <QTextBlock>

namespace quorin::app {
namespace {

class ConsoleTest : public testing::Test {
 protected:
  QTextCharFormat formatOf(int line) {
    QTextCursor cursor(output_.document()->findBlockByNumber(line));
    cursor.movePosition(QTextCursor::NextCharacter);
    return cursor.charFormat();
  }

  QTextEdit output_;
  QLineEdit input_;
  Console console_{&output_, &input_};
};

TEST_F(ConsoleTest, AppendsEveryTextAsALineInItsLook) {
  console_.presentMessage("Ready", true);
  console_.presentMessage("[you]: hello", false);
  console_.presentMessage("Disconnected", true);
  EXPECT_EQ(output_.toPlainText(), "Ready\n[you]: hello\nDisconnected");

  EXPECT_EQ(formatOf(0).font().family(), "menlo");
  EXPECT_EQ(formatOf(0).font().pixelSize(), 11);
  EXPECT_EQ(formatOf(0).foreground().color(), colors::kDarkGrey);
  EXPECT_EQ(formatOf(1).font().family(), "helvetica");
  EXPECT_EQ(formatOf(1).font().pixelSize(), 16);
  EXPECT_EQ(formatOf(1).foreground().color(), colors::kLightGrey);
  EXPECT_EQ(input_.font().pixelSize(), 14);
}

TEST_F(ConsoleTest, LogsEveryLine) {
  testing::internal::CaptureStderr();
  console_.presentMessage("Connected to 7", true);
  EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::HasSubstr(">> Connected to 7"));
}

TEST_F(ConsoleTest, ScrollsToTheEnd) {
  output_.resize(300, 100);
  output_.show();
  for (int i = 0; i < 40; ++i) console_.presentMessage(QString::number(i), false);
  QScrollBar& bar = *output_.verticalScrollBar();
  EXPECT_GT(bar.maximum(), 100);
  EXPECT_TRUE(QTest::qWaitFor([&bar] { return bar.value() == bar.maximum(); }, 2000));
}

TEST(ConsoleWithoutViewsTest, StillLogs) {
  Console console(nullptr, nullptr);
  console.presentMessage("text", false);
}

}  // namespace
}  // namespace quorin::app
