// SPDX-License-Identifier: GPL-3.0-or-later
// Stands in for a file server that does not answer, when it is loaded ahead of the C library: every
// call for a file whose name has ".slow" in it waits for as long as there is a file of that name
// with
// ".hangs" behind it.
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdarg>
#include <string>

namespace {

template <typename Function>
Function Next(const char* name) {
  return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

void Wait(const std::string& path) {
  if (path.find(".slow") == std::string::npos) return;
  static const auto access = Next<int (*)(const char*, int)>("access");
  while (access((path + ".hangs").c_str(), F_OK) == 0) usleep(10'000);
}

std::string PathOf(int descriptor) {
  std::string path(4096, '\0');
  const ssize_t size =
      readlink(("/proc/self/fd/" + std::to_string(descriptor)).c_str(), path.data(), path.size());
  return path.substr(0, size > 0 ? static_cast<std::size_t>(size) : 0);
}

}  // namespace

extern "C" {

int open(const char* path, int flags, ...) {
  va_list rest;
  va_start(rest, flags);
  const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(rest, mode_t) : 0;
  va_end(rest);
  Wait(path);
  return Next<int (*)(const char*, int, ...)>("open")(path, flags, mode);
}

ssize_t pread(int descriptor, void* to, std::size_t size, off_t place) {
  Wait(PathOf(descriptor));
  return Next<ssize_t (*)(int, void*, std::size_t, off_t)>("pread")(descriptor, to, size, place);
}

int stat(const char* path, struct stat* to) {
  Wait(path);
  return Next<int (*)(const char*, struct stat*)>("stat")(path, to);
}
}
