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
  const QString installed =
      QDir::cleanPath(programs.absoluteFilePath(VANTOSCOPE_DOC_FROM_PROGRAM "/wvanto.html"));
  if (QFile::exists(installed)) return installed.toStdString();
  return VANTOSCOPE_DOC_IN_SOURCE "/wvanto.html";
}

}  // namespace vantoscope
