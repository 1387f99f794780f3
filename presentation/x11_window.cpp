#include "presentation/x11_window.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace vantoscope {
namespace {

struct Free {
  void operator()(void* reply) const { std::free(reply); }
};
template <typename T>
std::unique_ptr<T, Free> Owned(T* reply) {
  return std::unique_ptr<T, Free>(reply);
}

// Fields of WM_NORMAL_HINTS, by the inter-client conventions.
constexpr std::size_t kHintFlags = 0;
constexpr std::size_t kHintGravity = 17;
constexpr std::uint32_t kHasIncrement = 1U << 6;
constexpr std::uint32_t kHasGravity = 1U << 9;
constexpr std::uint32_t kHintLength = 18;

}  // namespace

X11Window::X11Window(xcb_connection_t* connection, xcb_window_t window)
    : connection_(connection),
      window_(window),
      root_(xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root) {}

xcb_atom_t X11Window::Atom(std::string_view name) {
  const auto known = atoms_.find(name);
  if (known != atoms_.end()) return known->second;
  const auto reply = Owned(xcb_intern_atom_reply(
      connection_,
      xcb_intern_atom(connection_, 0, static_cast<std::uint16_t>(name.size()), name.data()),
      nullptr));
  if (!reply) return {};
  return atoms_[name] = reply->atom;
}

std::vector<std::uint32_t> X11Window::Numbers(xcb_window_t window, std::string_view property,
                                              std::uint32_t count) {
  const auto reply = Owned(xcb_get_property_reply(
      connection_,
      xcb_get_property(connection_, 0, window, Atom(property), XCB_GET_PROPERTY_TYPE_ANY, 0, count),
      nullptr));
  if (!reply || reply->format != 32) return {};
  const auto length = static_cast<std::size_t>(xcb_get_property_value_length(reply.get()));
  std::vector<std::uint32_t> numbers(length / sizeof(std::uint32_t));
  if (!numbers.empty()) {
    std::memcpy(numbers.data(), xcb_get_property_value(reply.get()),
                numbers.size() * sizeof(std::uint32_t));
  }
  return numbers;
}

bool X11Window::HasManager() {
  // The window that the property names is gone when the manager has died.
  const auto check = Numbers(root_, "_NET_SUPPORTING_WM_CHECK", 1);
  return !check.empty() && Numbers(check[0], "_NET_SUPPORTING_WM_CHECK", 1) == check;
}

bool X11Window::IsPlaced() {
  const auto attributes = Owned(xcb_get_window_attributes_reply(
      connection_, xcb_get_window_attributes(connection_, window_), nullptr));
  if (!attributes || attributes->map_state != XCB_MAP_STATE_VIEWABLE) return false;
  return !HasManager() || !Numbers(window_, "WM_STATE", 1).empty();
}

std::optional<QRect> X11Window::Client() {
  const auto geometry_cookie = xcb_get_geometry(connection_, window_);
  const auto origin_cookie = xcb_translate_coordinates(connection_, window_, root_, 0, 0);
  const auto geometry = Owned(xcb_get_geometry_reply(connection_, geometry_cookie, nullptr));
  const auto origin = Owned(xcb_translate_coordinates_reply(connection_, origin_cookie, nullptr));
  if (!geometry || !origin) return std::nullopt;
  return QRect(origin->dst_x, origin->dst_y, geometry->width, geometry->height);
}

std::optional<QMargins> X11Window::Frame() {
  const auto extents = Numbers(window_, "_NET_FRAME_EXTENTS", 4);
  if (extents.size() != 4) return std::nullopt;
  const auto width = [&](std::size_t side) { return static_cast<int>(extents[side]); };
  return QMargins(width(0), width(2), width(1), width(3));  // the property: left right top bottom
}

void X11Window::SendToManager(std::string_view type, const std::array<std::uint32_t, 4>& data) {
  xcb_client_message_event_t message{};
  message.response_type = XCB_CLIENT_MESSAGE;
  message.format = 32;
  message.window = window_;
  message.type = Atom(type);
  std::copy(data.begin(), data.end(), message.data.data32);
  xcb_send_event(connection_, 0, root_,
                 XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                 reinterpret_cast<const char*>(&message));
  xcb_flush(connection_);
}

void X11Window::RequestFrame() { SendToManager("_NET_REQUEST_FRAME_EXTENTS", {}); }

// A manager reads the property when it takes the window, and listens to messages from then on.
void X11Window::SetAbove(bool above) {
  const xcb_atom_t state = Atom("_NET_WM_STATE_ABOVE");
  if (!IsPlaced() || !HasManager()) {
    xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, window_, Atom("_NET_WM_STATE"),
                        XCB_ATOM_ATOM, 32, above ? 1 : 0, &state);
  }
  constexpr std::uint32_t kFromApplication = 1;
  SendToManager("_NET_WM_STATE", {above ? 1U : 0U, state, 0, kFromApplication});
}

bool X11Window::ButtonIsHeld() {
  const auto pointer =
      Owned(xcb_query_pointer_reply(connection_, xcb_query_pointer(connection_, root_), nullptr));
  constexpr int kAnyButton = XCB_BUTTON_MASK_1 | XCB_BUTTON_MASK_2 | XCB_BUTTON_MASK_3;
  return pointer && (pointer->mask & kAnyButton) != 0;
}

bool X11Window::PositionIsOuterCorner() {
  const auto hints = Numbers(window_, "WM_NORMAL_HINTS", kHintLength);
  return hints.size() < kHintLength || (hints[kHintFlags] & kHasGravity) == 0 ||
         hints[kHintGravity] != XCB_GRAVITY_STATIC;
}

// Where the desktop is scaled the toolkit asks for sizes in steps of a whole logical pixel, and a
// manager rounds to them.
void X11Window::AllowEverySize() {
  auto hints = Numbers(window_, "WM_NORMAL_HINTS", kHintLength);
  if (hints.empty() || (hints[kHintFlags] & kHasIncrement) == 0) return;
  hints[kHintFlags] &= ~kHasIncrement;
  xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, window_, XCB_ATOM_WM_NORMAL_HINTS,
                      XCB_ATOM_WM_SIZE_HINTS, 32, static_cast<std::uint32_t>(hints.size()),
                      hints.data());
}

void X11Window::Place(const QRect& client, const QMargins& frame) {
  AllowEverySize();
  const QPoint position = HasManager() && PositionIsOuterCorner()
                              ? client.topLeft() - QPoint(frame.left(), frame.top())
                              : client.topLeft();
  const std::array<std::uint32_t, 4> values = {
      static_cast<std::uint32_t>(position.x()), static_cast<std::uint32_t>(position.y()),
      static_cast<std::uint32_t>(client.width()), static_cast<std::uint32_t>(client.height())};
  xcb_configure_window(connection_, window_,
                       XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y | XCB_CONFIG_WINDOW_WIDTH |
                           XCB_CONFIG_WINDOW_HEIGHT,
                       values.data());
  xcb_flush(connection_);
}

}  // namespace vantoscope
