#include "app/images.h"

#include <gmock/gmock.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

namespace quorin::app {
namespace {

class ImageLookup : public testing::Test {
 protected:
  ImageLookup() { QDir(folder_.path()).mkpath("pictures"); }

  void addDrawing(const QString& name) {
    write(name,
          R"(<svg xmlns="http://www.w3.org/2000/svg" width="8" height="4" viewBox="0 0 8 4"/>)");
  }
  void addBitmap(const QString& name) { QImage(3, 3, QImage::Format_RGB32).save(path(name)); }
  void write(const QString& name, const QByteArray& content) {
    QFile file(path(name));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(content);
  }
  QString path(const QString& name) const { return folder_.filePath("pictures/" + name); }

  QTemporaryDir folder_;
  Images images_{folder_.path()};
};

TEST_F(ImageLookup, PrefersTheNamedDrawing) {
  addDrawing("internet.svg");
  addBitmap("internet.png");
  EXPECT_EQ(images_.imageNamedSafe("internet")->size(), QSizeF(8, 4));
}

TEST_F(ImageLookup, FallsBackToThePngOfTheSameBaseName) {
  addBitmap("internet.png");
  EXPECT_EQ(images_.imageNamedSafe("internet.png")->size(), QSizeF(3, 3));
  EXPECT_EQ(images_.imageNamedSafe("internet")->size(), QSizeF(3, 3));
  EXPECT_EQ(images_.imageNamedSafe("internet.tiff")->size(), QSizeF(3, 3));
}

TEST_F(ImageLookup, AFileThatIsMissingOrDoesNotLoadIsNone) {
  write("Cable.png", "this is no picture");
  EXPECT_FALSE(images_.imageForView("Cable"));
  EXPECT_FALSE(images_.imageForView("Logo"));
  EXPECT_TRUE(images_.icon("Logo").isNull());
}

TEST(ImagesTest, TheProgramCarriesEveryPictureAndSymbol) {
  const Images images;
  for (const char* name : {"Logo", "Logo 1", "internet", "Cable"}) {
    EXPECT_TRUE(images.imageForView(name)) << name;
  }
  for (const char* name : {"mic.slash", "waveform.circle.fill", "server.rack",
                           "chart.line.uptrend.xyaxis", "person.2.fill", "qrcode", "mic.fill",
                           "network", "number", "iphone.radiowaves.left.and.right",
                           "chart.bar.fill", "stop.circle", "play.fill", "stop.fill"}) {
    const auto symbol = images.symbol(name, Qt::green);
    ASSERT_TRUE(symbol) << name;
    const QImage image = pictures::renderSquare(*symbol, 24);
    QImage nothing(image.size(), image.format());
    nothing.fill(Qt::transparent);
    EXPECT_NE(image, nothing) << name;
  }
}

TEST(ImagesTest, TheIconComesInEverySize) {
  const QIcon icon = Images().icon("Logo");
  for (const int side : {16, 22, 24, 32, 48, 64, 128, 256, 512}) {
    EXPECT_EQ(icon.pixmap(side).size(), QSize(side, side));
    EXPECT_EQ(icon.pixmap(side).toImage().pixelColor(side / 2, side / 2).alpha(), 255);
  }
}

}  // namespace
}  // namespace quorin::app
