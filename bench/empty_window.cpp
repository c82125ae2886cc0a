// A window with nothing in it, of the size of the program's: what the start and the memory of that
// are measured against.
#include <QApplication>
#include <QWidget>

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  QWidget window;
  window.resize(1200, 750);
  window.show();
  return QApplication::exec();
}
