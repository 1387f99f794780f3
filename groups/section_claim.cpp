// SPDX-License-Identifier: GPL-3.0-or-later
#include "groups/section_claim.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <filesystem>
#include <string>
#include <system_error>

#include "groups/abstract_address.h"
#include "text/characters.h"

namespace vantoscope {
namespace {

/// FNV-1a.
std::uint64_t Hash(std::string_view text) {
  std::uint64_t hash = 0xCBF29CE484222325U;
  for (const char c : text) hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3U;
  return hash;
}

/// The same text for every way to write one path, as far as it is there.
std::string OneNameOf(std::string_view path) {
  std::error_code error;
  const auto resolved = std::filesystem::weakly_canonical(path, error);
  return error ? std::string(path) : resolved.string();
}

/// The settings file looks a section up without the blanks around its name and without regard to
/// case.
std::string AsLookedUp(std::string_view section) {
  section.remove_prefix(std::min(section.find_first_not_of(" \t\r\n"), section.size()));
  std::string name(section);
  std::ranges::transform(name, name.begin(), Lower);
  return name;
}

std::string NameOf(std::string_view settings_file, std::string_view section) {
  std::array<char, 16> digits{};
  const std::uint64_t hash = Hash(OneNameOf(settings_file) + '\n' + AsLookedUp(section));
  const auto end = std::to_chars(digits.begin(), digits.end(), hash, 16).ptr;
  return "vantoscope-section-" + std::to_string(geteuid()) + "-" + std::string(digits.data(), end);
}

}  // namespace

SectionClaim::SectionClaim(std::string_view settings_file, std::string_view section)
    : socket_(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
  const AbstractAddress address(NameOf(settings_file, section));
  if (socket_ >= 0 && bind(socket_, address.Get(), address.Size()) != 0) {
    shared_ = errno == EADDRINUSE;
  }
}

SectionClaim::~SectionClaim() {
  if (socket_ >= 0) close(socket_);
}

}  // namespace vantoscope
