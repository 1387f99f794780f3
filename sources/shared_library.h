// SPDX-License-Identifier: GPL-3.0-or-later
// A library that is loaded only when something needs it, so that a meter on another device pays
// neither its start-up time nor its memory.
#pragma once

#include <string>
#include <vector>

namespace vantoscope {

/// Stays loaded to the end of the process: threads may still run in it.
class SharedLibrary {
 public:
  /// Throws SourceError with the Debian `package` to install when it cannot be loaded. `who` needs
  /// it, as in "A sound file".
  SharedLibrary(const char* who, const char* soname, const char* package);

  /// The names of all that this process has loaded so far.
  static std::vector<std::string> Loaded();

  /// Throws SourceError when the library has no such function.
  template <typename Pointer>
  [[nodiscard]] Pointer Function(const char* name) const {
    return reinterpret_cast<Pointer>(Address(name));
  }

 private:
  [[nodiscard]] void* Address(const char* name) const;

  const char* soname_;
  void* handle_;
};

}  // namespace vantoscope

/// Declares `member` as the function of that name in the SharedLibrary `library_`, declared before.
#define VANTOSCOPE_LIBRARY_FUNCTION(member, function) \
  decltype(&::function) const member = library_.Function<decltype(&::function)>(#function)
