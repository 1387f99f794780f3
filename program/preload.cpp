// SPDX-License-Identifier: GPL-3.0-or-later
#include "program/preload.h"

#include <dlfcn.h>
#include <locale.h>  // NOLINT(modernize-deprecated-headers): newlocale is POSIX

#include <QFile>
#include <QLibraryInfo>
#include <QString>

namespace vantoscope {
namespace {

/// Reads the configuration of the fonts and opens the caches of their folders. The toolkit has
/// loaded the library, if it is one that asks it for fonts.
void ReadFonts() {
  using Function = int (*)();
  if (auto* const init = reinterpret_cast<Function>(dlsym(RTLD_DEFAULT, "FcInit"))) init();
}

/// The files of the user's locale, for the setlocale of each meter. Sets no locale: the first thing
/// that the toolkit does is to set that of the process.
void ReadLocale() {
  [[maybe_unused]] static const locale_t kept = newlocale(LC_ALL_MASK, "", nullptr);
}

}  // namespace

void Preload() {
  const QString plugins = QLibraryInfo::path(QLibraryInfo::PluginsPath);
  for (const char* plugin : {"/platforms/libqxcb.so",
                             "/platforminputcontexts/libcomposeplatforminputcontextplugin.so"}) {
    dlopen(QFile::encodeName(plugins + plugin).constData(), RTLD_NOW);
  }
  dlopen("libXcursor.so.1", RTLD_NOW);
  ReadFonts();
  ReadLocale();
}

}  // namespace vantoscope
