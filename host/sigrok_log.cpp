// SPDX-License-Identifier: GPL-3.0-or-later
#include "host/sigrok_log.h"

#include <libsigrok/libsigrok.h>

#include <array>
#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <string_view>
#include <utility>

namespace vantoscope {
namespace {

struct Complaint {
  std::mutex mutex;
  std::string text;
};

/// Not destroyed: the library may complain from its last thread.
Complaint& Newest() {
  static auto* const newest = new Complaint;
  return *newest;
}

/// Its lines begin with the name of a part: "scpi_tcp: Failed to connect."
std::string_view WithoutPart(std::string_view line) {
  const std::size_t colon = line.find(": ");
  return colon < line.find(' ') ? line.substr(colon + 2) : line;
}

int Keep(void*, int, const char* format, va_list values) {
  std::array<char, 512> line{};
  std::vsnprintf(line.data(), line.size(), format, values);
  std::string_view text = WithoutPart(line.data());
  while (text.ends_with('.') || text.ends_with('\n')) text.remove_suffix(1);
  const std::scoped_lock lock(Newest().mutex);
  Newest().text = text;
  return SR_OK;
}

}  // namespace

void ListenToSigrok() {
  sr_log_callback_set(Keep, nullptr);
  sr_log_loglevel_set(SR_LOG_WARN);
}

std::string TakeSigrokComplaint() {
  const std::scoped_lock lock(Newest().mutex);
  return std::exchange(Newest().text, {});
}

}  // namespace vantoscope
