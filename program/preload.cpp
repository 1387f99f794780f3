// SPDX-License-Identifier: GPL-3.0-or-later
#include "program/preload.h"

#include <dlfcn.h>

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

}  // namespace

void Preload() {
  const QString plugins = QLibraryInfo::path(QLibraryInfo::PluginsPath);
  for (const char* plugin : {"/platforms/libqxcb.so",
                             "/platforminputcontexts/libcomposeplatforminputcontextplugin.so"}) {
    dlopen(QFile::encodeName(plugins + plugin).constData(), RTLD_NOW);
  }
  dlopen("libXcursor.so.1", RTLD_NOW);
  ReadFonts();
}

}  // namespace vantoscope
