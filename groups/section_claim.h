// SPDX-License-Identifier: GPL-3.0-or-later
// Tells when two meters keep their settings in one section, as "-nTank1 -i0" and "-nTank -i10" do.
// The claim is the name of a socket that nobody connects to: it ends with the process that holds
// it, whatever way that ends.
#pragma once

#include <string_view>

namespace vantoscope {

class SectionClaim {
 public:
  /// Claims a section of the settings file at that path until this object ends.
  SectionClaim(std::string_view settings_file, std::string_view section);
  ~SectionClaim();
  SectionClaim(const SectionClaim&) = delete;
  SectionClaim& operator=(const SectionClaim&) = delete;

  /// Another meter of this user has claimed it already.
  [[nodiscard]] bool IsShared() const { return shared_; }

 private:
  int socket_ = -1;
  bool shared_ = false;
};

}  // namespace vantoscope
