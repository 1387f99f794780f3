// SPDX-License-Identifier: GPL-3.0-or-later
#include "sources/shared_library.h"

#include <dlfcn.h>

#include <mutex>
#include <string>

#include "meter/data_source.h"

namespace vantoscope {
namespace {

std::mutex loaded_guard;
std::vector<std::string> loaded_names;

}  // namespace

SharedLibrary::SharedLibrary(const char* who, const char* soname, const char* package)
    : soname_(soname), handle_(dlopen(soname, RTLD_NOW | RTLD_LOCAL)) {
  if (handle_ != nullptr) {
    const std::lock_guard lock(loaded_guard);
    loaded_names.emplace_back(soname);
    return;
  }
  throw SourceError(std::string(who) + " needs the library " + soname + " (Debian package " +
                    package + "), which cannot be loaded: " + dlerror() + ".");
}

std::vector<std::string> SharedLibrary::Loaded() {
  const std::lock_guard lock(loaded_guard);
  return loaded_names;
}

void* SharedLibrary::Address(const char* name) const {
  void* const address = dlsym(handle_, name);
  if (address != nullptr) return address;
  throw SourceError(std::string("The library ") + soname_ + " has no function " + name + ".");
}

}  // namespace vantoscope
