// SPDX-License-Identifier: GPL-3.0-or-later
// Properties of windows on X11 that hold lists of numbers or atoms. Asking and hearing are apart,
// so that many questions cost one round trip together.
#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>

namespace vantoscope {

struct FreeReply {
  void operator()(void* reply) const { std::free(reply); }
};

/// Owns what the library has allocated.
template <typename T>
std::unique_ptr<T, FreeReply> Owned(T* reply) {
  return std::unique_ptr<T, FreeReply>(reply);
}

xcb_get_property_cookie_t AskNumbers(xcb_connection_t* connection, xcb_window_t window,
                                     xcb_atom_t property);
/// Empty where the property is missing or no list of 32-bit numbers.
std::vector<std::uint32_t> Numbers(xcb_connection_t* connection, xcb_get_property_cookie_t cookie);

}  // namespace vantoscope
