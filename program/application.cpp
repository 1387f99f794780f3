#include "program/application.h"

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "desktop/window_icon.h"

namespace vantoscope {
namespace {

// A Wayland compositor lets no window place itself, stay on top or follow the pointer outside; its
// X server does.
void PreferX11() {
  if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM") && !qEnvironmentVariableIsEmpty("DISPLAY")) {
    qputenv("QT_QPA_PLATFORM", "xcb");
  }
}

std::function<void(const std::string&)> tell_failure;

// The toolkit ends the process when it finds no display, with many lines and a core file.
void EndWithOneSentence(QtMsgType type, const QMessageLogContext&, const QString&) {
  if (type != QtFatalMsg) return;
  const char* display = std::getenv("DISPLAY");
  const std::string sentence =
      display == nullptr || *display == '\0'
          ? "There is no display to open a window on: DISPLAY is not set."
          : "No window can be opened on the display " + std::string(display) + ".";
  std::fprintf(stderr, "vantoscope: %s\n", sentence.c_str());
  tell_failure(sentence);
  std::_Exit(1);
}

QtMessageHandler print_message = nullptr;

// The toolkit's last words before it leaves by std::exit; every meter of a group would say them.
void KeepQuietAboutALostDisplay(QtMsgType type, const QMessageLogContext& context,
                                const QString& text) {
  if (!text.startsWith("The X11 connection broke")) print_message(type, context, text);
}

}  // namespace

std::unique_ptr<QApplication> CreateApplication(
    std::string program, std::function<void(const std::string&)> on_failure) {
  static std::string name;  // the toolkit keeps the addresses
  static int count = 1;
  static char* arguments[] = {nullptr, nullptr};
  name = std::move(program);
  arguments[0] = name.data();

  PreferX11();
  QGuiApplication::setDesktopSettingsAware(false);
  tell_failure = std::move(on_failure);
  print_message = qInstallMessageHandler(EndWithOneSentence);
  auto application = std::make_unique<QApplication>(count, arguments);
  qInstallMessageHandler(KeepQuietAboutALostDisplay);
  QApplication::setWindowIcon(WindowIcon());
  QApplication::setDesktopFileName("org.vantoscope.vantoscope");
  std::setlocale(LC_NUMERIC, "C");
  return application;
}

}  // namespace vantoscope
