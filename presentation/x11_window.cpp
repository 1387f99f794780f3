#include "presentation/x11_window.h"

#include <xcb/xcb_icccm.h>

#include <array>
#include <cstdlib>
#include <string_view>

namespace vantoscope {
namespace {

constexpr int kScreen = 0;

struct Free {
  void operator()(void* reply) const { std::free(reply); }
};
template <typename T>
std::unique_ptr<T, Free> Owned(T* reply) {
  return std::unique_ptr<T, Free>(reply);
}

}  // namespace

// All names go out in one request after the other, so that they cost one round trip together.
std::unique_ptr<X11Window> X11Window::Open(xcb_connection_t* connection, xcb_window_t window) {
  if (xcb_connection_has_error(connection) != 0) return nullptr;
  constexpr std::string_view kWmState = "WM_STATE";
  xcb_ewmh_connection_t ewmh{};
  xcb_intern_atom_cookie_t* const names = xcb_ewmh_init_atoms(connection, &ewmh);
  const auto wm_state_cookie =
      xcb_intern_atom(connection, 0, std::uint16_t{kWmState.size()}, kWmState.data());
  const bool known = xcb_ewmh_init_atoms_replies(&ewmh, names, nullptr) != 0;
  const auto wm_state = Owned(xcb_intern_atom_reply(connection, wm_state_cookie, nullptr));
  if (!known) return nullptr;
  return std::unique_ptr<X11Window>(
      new X11Window(ewmh, wm_state ? wm_state->atom : xcb_atom_t{XCB_ATOM_NONE}, window));
}

X11Window::X11Window(const xcb_ewmh_connection_t& ewmh, xcb_atom_t wm_state, xcb_window_t window)
    : ewmh_(ewmh),
      connection_(ewmh.connection),
      wm_state_(wm_state),
      window_(window),
      root_(ewmh.screens[kScreen]->root) {}

X11Window::~X11Window() { xcb_ewmh_connection_wipe(&ewmh_); }

std::optional<xcb_window_t> X11Window::ManagerNamedBy(xcb_window_t window) {
  xcb_window_t manager = XCB_NONE;
  const auto cookie = xcb_ewmh_get_supporting_wm_check(&ewmh_, window);
  if (xcb_ewmh_get_supporting_wm_check_reply(&ewmh_, cookie, &manager, nullptr) == 0) return {};
  return manager;
}

bool X11Window::HasManager() {
  // The window that the property names is gone when the manager has died.
  const auto manager = ManagerNamedBy(root_);
  return manager && ManagerNamedBy(*manager) == manager;
}

bool X11Window::IsManaged() {
  const auto cookie = xcb_get_property(connection_, 0, window_, wm_state_, wm_state_, 0, 1);
  const auto state = Owned(xcb_get_property_reply(connection_, cookie, nullptr));
  return state && state->type != XCB_NONE;
}

bool X11Window::IsPlaced() {
  const auto attributes = Owned(xcb_get_window_attributes_reply(
      connection_, xcb_get_window_attributes(connection_, window_), nullptr));
  if (!attributes || attributes->map_state != XCB_MAP_STATE_VIEWABLE) return false;
  return !HasManager() || IsManaged();
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
  xcb_ewmh_get_extents_reply_t frame{};
  const auto cookie = xcb_ewmh_get_frame_extents(&ewmh_, window_);
  if (xcb_ewmh_get_frame_extents_reply(&ewmh_, cookie, &frame, nullptr) == 0) return std::nullopt;
  const auto pixels = [](std::uint32_t width) { return static_cast<int>(width); };
  return QMargins(pixels(frame.left), pixels(frame.top), pixels(frame.right), pixels(frame.bottom));
}

void X11Window::RequestFrame() {
  xcb_ewmh_request_frame_extents(&ewmh_, kScreen, window_);
  xcb_flush(connection_);
}

// A manager reads the property when it takes the window, and listens to messages from then on.
void X11Window::SetAbove(bool above) {
  if (!IsPlaced() || !HasManager()) {
    xcb_ewmh_set_wm_state(&ewmh_, window_, above ? 1 : 0, &ewmh_._NET_WM_STATE_ABOVE);
  }
  xcb_ewmh_request_change_wm_state(
      &ewmh_, kScreen, window_, above ? XCB_EWMH_WM_STATE_ADD : XCB_EWMH_WM_STATE_REMOVE,
      ewmh_._NET_WM_STATE_ABOVE, XCB_NONE, XCB_EWMH_CLIENT_SOURCE_TYPE_NORMAL);
  xcb_flush(connection_);
}

bool X11Window::ButtonIsHeld() {
  const auto pointer =
      Owned(xcb_query_pointer_reply(connection_, xcb_query_pointer(connection_, root_), nullptr));
  constexpr int kAnyButton = XCB_BUTTON_MASK_1 | XCB_BUTTON_MASK_2 | XCB_BUTTON_MASK_3;
  return pointer && (pointer->mask & kAnyButton) != 0;
}

std::optional<xcb_size_hints_t> X11Window::SizeHints() {
  xcb_size_hints_t hints{};
  const auto cookie = xcb_icccm_get_wm_normal_hints(connection_, window_);
  if (xcb_icccm_get_wm_normal_hints_reply(connection_, cookie, &hints, nullptr) == 0) return {};
  return hints;
}

bool X11Window::PositionIsOuterCorner() {
  const auto hints = SizeHints();
  return !hints || (hints->flags & XCB_ICCCM_SIZE_HINT_P_WIN_GRAVITY) == 0 ||
         hints->win_gravity != XCB_GRAVITY_STATIC;
}

// Where the desktop is scaled the toolkit asks for sizes in steps of a whole logical pixel, and a
// manager rounds to them.
void X11Window::AllowEverySize() {
  auto hints = SizeHints();
  if (!hints || (hints->flags & XCB_ICCCM_SIZE_HINT_P_RESIZE_INC) == 0) return;
  hints->flags &= ~static_cast<std::uint32_t>(XCB_ICCCM_SIZE_HINT_P_RESIZE_INC);
  xcb_icccm_set_wm_normal_hints(connection_, window_, &*hints);
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
