#include "ui/qr_picture.h"

#include "support/code_photo.h"
#include "window/window_fixture.h"

#include <gmock/gmock.h>

namespace quorin::app {
namespace {

TEST(QrPictureTest, IsNoneForWhatNoCodeCanHold) {
  EXPECT_FALSE(generateQRCodeFromString("", 300));
  EXPECT_FALSE(generateQRCodeFromString("192.168.1.10\u2192", 300)) << "not ISO 8859-1";
  EXPECT_FALSE(generateQRCodeFromString(QString(3000, 'x'), 300));
  EXPECT_TRUE(generateQRCodeFromString("caf\u00e9", 300));
}

TEST(QrPictureTest, IsAsLargeAsAskedForWithItsQuietZone) {
  const auto code = generateQRCodeFromString("192.168.178.124:9000", 300);
  ASSERT_TRUE(code);
  EXPECT_EQ(code->size(), QSizeF(300, 300));
  const QImage image = pictures::renderSquare(*code, 300);
  EXPECT_EQ(qAlpha(image.pixel(35, 35)), 0) << "the quiet zone lets the background through";
  EXPECT_EQ(image.pixel(40, 40), qRgb(255, 255, 255)) << "a dark module is white";
}

class WifiPagePhotographed : public WindowFixture {};

/// Also run with the display factors 1.5 and 2.
TEST_F(WifiPagePhotographed, ReadsBackAsItsContentAtEverySize) {
  for (const QSize size : {QSize(720, 680), QSize(721, 681), QSize(1200, 750)}) {
    for (const char* content : {"10.0.0.2:9000", "192.168.178.124:65535"}) {
      window_.resize(size);
      views_.onlineQRImageView_->showCode(generateQRCodeFromString(content, 300), content);
      show(wifi(3));
      EXPECT_THAT(quorin::test::codesOn(window_), ::testing::ElementsAre(content))
          << size.width() << " x " << size.height() << ", factor " << window_.devicePixelRatio();
    }
  }
}

}  // namespace
}  // namespace quorin::app
