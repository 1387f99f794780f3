// SPDX-License-Identifier: GPL-3.0-or-later
#include "program/session_bus.h"

#include <sys/stat.h>

#include <cstdlib>
#include <string>
#include <string_view>

#include "settings/open_address.h"

namespace vantoscope {
namespace {

constexpr const char* kVariable = "DBUS_SESSION_BUS_ADDRESS";

/// As an address wants it: a byte that has a meaning there, or may have one, as two digits.
std::string Escaped(std::string_view path) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  constexpr std::string_view kPlain =
      "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz-_/.\\";
  std::string escaped;
  for (const char c : path) {
    if (kPlain.find(c) != std::string_view::npos) {
      escaped += c;
    } else {
      const auto byte = static_cast<unsigned char>(c);
      escaped += {'%', kDigits[byte / 16U], kDigits[byte % 16U]};
    }
  }
  return escaped;
}

std::string InRuntimeFolder() {
  const char* folder = std::getenv("XDG_RUNTIME_DIR");
  if (folder == nullptr || *folder != '/') return {};
  const std::string path = std::string(folder) + "/bus";
  struct stat bus {};
  return stat(path.c_str(), &bus) == 0 && S_ISSOCK(bus.st_mode) ? "unix:path=" + Escaped(path) : "";
}

}  // namespace

void ChooseSessionBus() {
  if (const char* named = std::getenv(kVariable); named != nullptr && *named != '\0') return;
  const std::string address = InRuntimeFolder();
  setenv(kVariable, address.empty() ? kNoBus : address.c_str(), 1);
}

}  // namespace vantoscope
