// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings/open_address.h"

#include <QCoreApplication>
#include <QDesktopServices>
#include <QDir>
#include <QUrl>

namespace vantoscope {

void OpenAddress(const std::string& address) {
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
