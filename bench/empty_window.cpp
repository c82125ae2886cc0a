// A window with nothing in it: what the program's memory is measured against.
#include <QApplication>
#include <QWidget>

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  QWidget window;
  window.resize(720, 680);
  window.show();
  return QApplication::exec();
}
