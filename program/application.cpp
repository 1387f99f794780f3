#include "program/application.h"

#include <QFontDatabase>
#include <QFontInfo>
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
  if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "xcb");
}

std::function<void(const std::string&)> tell_failure;

[[noreturn]] void EndWith(const std::string& sentence) {
  std::fprintf(stderr, "vantoscope: %s\n", sentence.c_str());
  tell_failure(sentence);
  std::_Exit(1);
}

std::string WhyNoDisplay() {
  if (!qEnvironmentVariableIsEmpty("DISPLAY")) {
    return "No window can be opened on the display " + qgetenv("DISPLAY").toStdString() + ".";
  }
  if (!qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY")) {
    return "There is only Wayland here, which lets no window place itself or stay on top; install "
           "its X server, XWayland (Debian package xwayland).";
  }
  return "There is no display to open a window on: DISPLAY is not set.";
}

// The toolkit ends the process when it finds no display, with many lines and a core file.
void EndWithOneSentence(QtMsgType type, const QMessageLogContext&, const QString&) {
  if (type == QtFatalMsg) EndWith(WhyNoDisplay());
}

/// Without any font the toolkit knows its three stand-ins, and draws every character as a box.
bool HasNoFont() {
  constexpr int kStandIns = 3;
  return QFontDatabase::families().size() <= kStandIns && QFontInfo(QFont()).family().isEmpty();
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
  if (HasNoFont()) {
    EndWith("There is no font to show a number in; install one (Debian package fonts-liberation).");
  }
  QApplication::setWindowIcon(WindowIcon());
  QApplication::setDesktopFileName("org.vantoscope.vantoscope");
  std::setlocale(LC_NUMERIC, "C");
  return application;
}

}  // namespace vantoscope
