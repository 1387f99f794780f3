// SPDX-License-Identifier: GPL-3.0-or-later
// The least that a meter could be: a window of the same kind with a label and two timers that do
// nothing, at the place that its two words tell. bench/start compares the start of a meter with it.
#include <QApplication>
#include <QLabel>
#include <QTimer>
#include <cstdlib>

int main(int argc, char** argv) {
  QGuiApplication::setDesktopSettingsAware(false);
  const QApplication application(argc, argv);
  QWidget window(nullptr, Qt::Tool);
  window.setAttribute(Qt::WA_QuitOnClose);
  window.setWindowTitle("Empty");
  window.resize(200, 42);
  if (argc > 2) window.move(std::atoi(argv[1]), std::atoi(argv[2]));
  QLabel label("009000", &window);
  QFont font = label.font();
  font.setPixelSize(32);
  label.setFont(font);
  label.setGeometry(window.rect());
  QTimer timer1;
  QTimer timer2;
  timer1.start(200);
  timer2.start(100);
  window.show();
  return QApplication::exec();
}
