// SPDX-License-Identifier: GPL-3.0-or-later
// What a call that must be refused says.
#pragma once

#include <string>

#include "meter/data_source.h"

namespace vantoscope::test {

/// The message of the SourceError that `call` throws.
template <typename Call>
std::string Refusal(Call call) {
  try {
    call();
  } catch (const SourceError& error) {
    return error.what();
  }
  return "no error";
}

}  // namespace vantoscope::test
