// SPDX-License-Identifier: GPL-3.0-or-later
#include "program/application.h"

#include <QFontMetrics>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "desktop/window_icon.h"

namespace vantoscope {
namespace {

std::function<void(const std::string&)> tell_failure;

[[noreturn]] void EndWith(const std::string& sentence) {
  std::fprintf(stderr, "vantoscope: %s\n", sentence.c_str());
  tell_failure(sentence);
  std::_Exit(1);
}

// A Wayland compositor lets no window place itself, stay on top or follow the pointer outside; its
// X server does.
void ChooseX11() {
  const QByteArray chosen = qgetenv("QT_QPA_PLATFORM");
  if (!qEnvironmentVariableIsEmpty("DISPLAY")) {
    if (chosen.isEmpty() || chosen.startsWith("wayland")) qputenv("QT_QPA_PLATFORM", "xcb");
  } else if (chosen.isEmpty() && !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY")) {
    EndWith(
        "This Wayland session runs without XWayland, which a window needs that stays at its place "
        "and on top; install the package xwayland, and start the session anew.");
  }
}

// The toolkit ends the process when it finds no display, with many lines and a core file.
void EndWithOneSentence(QtMsgType type, const QMessageLogContext&, const QString&) {
  if (type != QtFatalMsg) return;
  if (qEnvironmentVariableIsEmpty("DISPLAY")) {
    EndWith("There is no display to open a window on: DISPLAY is not set.");
  }
  EndWith("No window can be opened on the display " + qgetenv("DISPLAY").toStdString() + ".");
}

// GLib's loop in place of the toolkit's own costs a tenth of a ticking meter; nothing here needs
// it. Programs that the meter starts are told nothing of it.
class WithoutGlib {
 public:
  WithoutGlib() : chosen_(qEnvironmentVariableIsSet(kVariable)) {
    if (!chosen_) qputenv(kVariable, "1");
  }
  ~WithoutGlib() {
    if (!chosen_) qunsetenv(kVariable);
  }
  WithoutGlib(const WithoutGlib&) = delete;
  WithoutGlib& operator=(const WithoutGlib&) = delete;

 private:
  static constexpr const char* kVariable = "QT_NO_GLIB";
  bool chosen_;
};

QtMessageHandler print_message = nullptr;

// The toolkit's last words before it leaves by std::exit; every meter of a group would say them.
void KeepQuietAboutALostDisplay(QtMsgType type, const QMessageLogContext& context,
                                const QString& text) {
  if (!text.startsWith("The X11 connection broke")) print_message(type, context, text);
}

}  // namespace

void RequireDigits(const QFont& font) {
  if (QFontMetrics(font).inFontUcs4(U'0')) return;
  EndWith(
      "No font is installed, so that no number can be shown; install one, for example the package "
      "fonts-liberation.");
}

std::unique_ptr<QApplication> CreateApplication(
    std::string program, std::function<void(const std::string&)> on_failure) {
  static std::string name;  // the toolkit keeps the addresses
  static int count = 1;
  static char* arguments[] = {nullptr, nullptr};
  name = std::move(program);
  arguments[0] = name.data();

  tell_failure = std::move(on_failure);
  ChooseX11();
  QGuiApplication::setDesktopSettingsAware(false);
  const WithoutGlib own_loop;
  print_message = qInstallMessageHandler(EndWithOneSentence);
  auto application = std::make_unique<QApplication>(count, arguments);
  qInstallMessageHandler(KeepQuietAboutALostDisplay);
  QApplication::setWindowIcon(WindowIcon());
  QApplication::setDesktopFileName("org.vantoscope.vantoscope");
  std::setlocale(LC_NUMERIC, "C");
  return application;
}

}  // namespace vantoscope
