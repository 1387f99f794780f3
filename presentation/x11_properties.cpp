// SPDX-License-Identifier: GPL-3.0-or-later
#include "presentation/x11_properties.h"

namespace vantoscope {

xcb_get_property_cookie_t AskNumbers(xcb_connection_t* connection, xcb_window_t window,
                                     xcb_atom_t property) {
  constexpr std::uint32_t kLongest = 4096;  // as many windows as a desktop may have
  return xcb_get_property(connection, 0, window, property, XCB_GET_PROPERTY_TYPE_ANY, 0, kLongest);
}

std::vector<std::uint32_t> Numbers(xcb_connection_t* connection, xcb_get_property_cookie_t cookie) {
  const auto reply = Owned(xcb_get_property_reply(connection, cookie, nullptr));
  if (!reply || reply->format != 32) return {};
  const auto* first = static_cast<const std::uint32_t*>(xcb_get_property_value(reply.get()));
  return {first, first + reply->value_len};
}

}  // namespace vantoscope
