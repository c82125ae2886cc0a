// Draws an SVG as a square PNG, while the program is built.  usage: render_icon SVG SIZE PNG

#include <QCoreApplication>
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>
#include <cstdio>

int main(int argc, char** argv) {
  const QCoreApplication app(argc, argv);
  const auto arguments = QCoreApplication::arguments();
  if (arguments.size() != 4) {
    std::fputs("usage: render_icon SVG SIZE PNG\n", stderr);
    return 2;
  }
  QSvgRenderer picture(arguments[1]);
  QImage icon(QSize(1, 1) * arguments[2].toInt(), QImage::Format_ARGB32_Premultiplied);
  if (!picture.isValid() || icon.isNull()) {
    std::fprintf(stderr, "render_icon: cannot draw %s\n", qPrintable(arguments[1]));
    return 1;
  }
  icon.fill(Qt::transparent);
  QPainter painter(&icon);
  picture.render(&painter);
  painter.end();
  return icon.save(arguments[3], "PNG") ? 0 : 1;
}
