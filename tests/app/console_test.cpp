#include "app/console.h"

#include "app/appearance.h"
#include "app/text_field.h"

#include <gmock/gmock.h>

#include <QScrollBar>
#include <QTest>
#include <QTextBlock>

namespace quorin::app {
namespace {

class ConsoleTest : public testing::Test {
 protected:
  QTextEdit& document() { return *output_.findChild<QTextEdit*>(); }
  QTextCharFormat formatOf(int line) {
    QTextCursor cursor(document().document()->findBlockByNumber(line));
    cursor.movePosition(QTextCursor::NextCharacter);
    return cursor.charFormat();
  }

  ConsoleView output_{nullptr};
  TextField input_{{}, {}, nullptr};
  Console console_{&output_, &input_};
};

TEST_F(ConsoleTest, AppendsEveryTextAsALineInItsLook) {
  console_.presentMessage("Ready", true);
  console_.presentMessage("[you]: hello", false);
  EXPECT_EQ(output_.text(), "Ready\n[you]: hello") << "hidden";
  output_.show();
  console_.presentMessage("Disconnected", true);
  EXPECT_EQ(output_.text(), "Ready\n[you]: hello\nDisconnected") << "shown";
  EXPECT_EQ(formatOf(0).foreground().color(), colors::kDarkGrey);
  EXPECT_EQ(formatOf(1).foreground().color(), colors::kLightGrey);
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
  QScrollBar& bar = *document().verticalScrollBar();
  EXPECT_GT(bar.maximum(), 100);
  EXPECT_TRUE(QTest::qWaitFor([&bar] { return bar.value() == bar.maximum(); }, 2000));
}

TEST(TextFieldTest, KeepsItsTextWhenItsEditorIsMade) {
  TextField field("Port", "9000", nullptr);
  field.setText("9001");
  EXPECT_EQ(field.text(), "9001");
  field.show();
  EXPECT_EQ(field.text(), "9001");
  auto* const editor = field.findChild<QLineEdit*>();
  ASSERT_TRUE(editor);
  int pressed = 0;
  QObject::connect(&field, &TextField::returnPressed, [&pressed] { ++pressed; });
  QTest::keyClicks(editor, "2");
  QTest::keyClick(editor, Qt::Key_Return);
  EXPECT_EQ(field.text(), "90012");
  EXPECT_EQ(pressed, 1);
  field.clear();
  EXPECT_EQ(field.text(), "");
}

TEST(ConsoleWithoutViewsTest, StillLogs) {
  Console console(nullptr, nullptr);
  console.presentMessage("text", false);
}

}  // namespace
}  // namespace quorin::app
