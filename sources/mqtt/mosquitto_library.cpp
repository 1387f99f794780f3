#include "sources/mqtt/mosquitto_library.h"

#include <dlfcn.h>

#include <string>

#include "meter/data_source.h"

namespace vantoscope {
namespace {

MosquittoLibrary Load() {
  void* handle = dlopen("libmosquitto.so.1", RTLD_NOW | RTLD_LOCAL);
  if (handle == nullptr) {
    throw SourceError(std::string("A network host needs the library libmosquitto: ") + dlerror());
  }
  MosquittoLibrary library;
#define VANTOSCOPE_RESOLVE(name)                                                        \
  library.name##_ =                                                                     \
      reinterpret_cast<decltype(library.name##_)>(dlsym(handle, "mosquitto_" #name));   \
  if (library.name##_ == nullptr) {                                                     \
    throw SourceError("The library libmosquitto has no function mosquitto_" #name "."); \
  }
  VANTOSCOPE_MOSQUITTO_FUNCTIONS(VANTOSCOPE_RESOLVE)
#undef VANTOSCOPE_RESOLVE
  library.lib_init_();
  return library;
}

}  // namespace

const MosquittoLibrary& Mosquitto() {
  static const MosquittoLibrary library = Load();
  return library;
}

}  // namespace vantoscope
