// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings/open_address.h"

#include <QCoreApplication>
#include <QDesktopServices>
#include <QDir>
#include <QUrl>

namespace vantoscope {
namespace {

constexpr const char* kBusVariable = "DBUS_SESSION_BUS_ADDRESS";

/// A browser looks for a session bus as it likes, also where this program does without one.
class EnvironmentOfUser {
 public:
  EnvironmentOfUser() : without_bus_(qgetenv(kBusVariable) == kNoBus) {
    if (without_bus_) qunsetenv(kBusVariable);
  }
  EnvironmentOfUser(const EnvironmentOfUser&) = delete;
  EnvironmentOfUser& operator=(const EnvironmentOfUser&) = delete;
  ~EnvironmentOfUser() {
    if (without_bus_) qputenv(kBusVariable, kNoBus);
  }

 private:
  bool without_bus_;
};

}  // namespace

void OpenAddress(const std::string& address) {
  const EnvironmentOfUser environment;
  QDesktopServices::openUrl(
      QUrl::fromUserInput(QString::fromStdString(address), {}, QUrl::AssumeLocalFile));
}

std::string HelpPage() {
  const QDir programs(QCoreApplication::applicationDirPath());
  const auto page = [&](const char* folder) {
    return QDir::cleanPath(programs.absoluteFilePath(folder) + "/wvanto.html");
  };
  const QString installed = page(VANTOSCOPE_DOC_FROM_PROGRAM);
  return (QFile::exists(installed) ? installed : page(VANTOSCOPE_DOC_FROM_BUILD)).toStdString();
}

}  // namespace vantoscope
