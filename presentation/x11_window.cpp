// SPDX-License-Identifier: GPL-3.0-or-later
#include "presentation/x11_window.h"

#include <xcb/xcb_icccm.h>

#include <algorithm>
#include <array>
#include <string_view>
#include <vector>

#include "presentation/x11_panels.h"
#include "presentation/x11_properties.h"

namespace vantoscope {
namespace {

constexpr int kScreen = 0;

bool Holds(const std::vector<std::uint32_t>& numbers, std::uint32_t number) {
  return std::ranges::find(numbers, number) != numbers.end();
}

QMargins FrameOf(const std::vector<std::uint32_t>& extents) {
  constexpr std::size_t kSides = 4;
  if (extents.size() < kSides) return {};
  const auto pixels = [&](std::size_t side) { return static_cast<int>(extents[side]); };
  return {pixels(0), pixels(2), pixels(1), pixels(3)};  // the property begins left, right, top
}

/// A desktop that tiles one edge of a window or more tells it in every second bit.
bool IsTiled(const std::vector<std::uint32_t>& edge_constraints) {
  constexpr std::uint32_t kTiledEdges = 0x55;
  return !edge_constraints.empty() && (edge_constraints[0] & kTiledEdges) != 0;
}

}  // namespace

// All names go out in one request after the other, so that they cost one round trip together.
std::unique_ptr<X11Window> X11Window::Open(xcb_connection_t* connection, xcb_window_t window) {
  if (xcb_connection_has_error(connection) != 0) return nullptr;
  constexpr std::array<std::string_view, 4> kNames = {"WM_STATE", "_GTK_EDGE_CONSTRAINTS",
                                                      "I3_SOCKET_PATH", "I3_FLOATING_WINDOW"};
  xcb_ewmh_connection_t ewmh{};
  xcb_intern_atom_cookie_t* const names = xcb_ewmh_init_atoms(connection, &ewmh);
  std::array<xcb_intern_atom_cookie_t, kNames.size()> cookies{};
  std::ranges::transform(kNames, cookies.begin(), [&](std::string_view name) {
    return xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.data());
  });
  const bool known = xcb_ewmh_init_atoms_replies(&ewmh, names, nullptr) != 0;
  const auto atom = [&](std::size_t index) -> xcb_atom_t {
    const auto reply = Owned(xcb_intern_atom_reply(connection, cookies.at(index), nullptr));
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
  };
  const Atoms atoms{.wm_state = atom(0),
                    .edge_constraints = atom(1),
                    .i3_socket_path = atom(2),
                    .i3_floating = atom(3)};
  if (!known) return nullptr;
  return std::unique_ptr<X11Window>(new X11Window(ewmh, atoms, window));
}

X11Window::X11Window(const xcb_ewmh_connection_t& ewmh, const Atoms& atoms, xcb_window_t window)
    : ewmh_(ewmh),
      connection_(ewmh.connection),
      atoms_(atoms),
      window_(window),
      root_(ewmh.screens[kScreen]->root) {}

X11Window::~X11Window() { xcb_ewmh_connection_wipe(&ewmh_); }

xcb_get_property_cookie_t X11Window::AskWhoManages(xcb_window_t window) {
  return AskNumbers(connection_, window, ewmh_._NET_SUPPORTING_WM_CHECK);
}

X11Window::ManagerCookies X11Window::AskForManager() {
  const auto by_root = AskWhoManages(root_);
  const xcb_window_t known = manager_ != XCB_NONE ? manager_ : root_;
  return {.by_root = by_root, .by_itself = AskWhoManages(known), .asked = known};
}

// The window that the property of the root names is gone when the manager has died.
bool X11Window::HearManager(const ManagerCookies& cookies) {
  const auto named = Numbers(connection_, cookies.by_root);
  auto confirmed = Numbers(connection_, cookies.by_itself);
  manager_ = named.empty() ? XCB_NONE : named[0];
  if (manager_ == XCB_NONE) return false;
  if (manager_ != cookies.asked) confirmed = Numbers(connection_, AskWhoManages(manager_));
  return confirmed == named;
}

// All questions go out before the first answer is waited for.
std::optional<X11Look> X11Window::Look() {
  const auto ask = [this](xcb_window_t window, xcb_atom_t property) {
    return AskNumbers(connection_, window, property);
  };
  const auto hear = [this](xcb_get_property_cookie_t cookie) {
    return Numbers(connection_, cookie);
  };
  const auto geometry_cookie = xcb_get_geometry(connection_, window_);
  const auto origin_cookie = xcb_translate_coordinates(connection_, window_, root_, 0, 0);
  const auto attributes_cookie = xcb_get_window_attributes(connection_, window_);
  const auto pointer_cookie = xcb_query_pointer(connection_, root_);
  const auto tree_cookie = xcb_query_tree(connection_, window_);
  const auto managed_cookie = ask(window_, atoms_.wm_state);
  const auto states_cookie = ask(window_, ewmh_._NET_WM_STATE);
  const auto frame_cookie = ask(window_, ewmh_._NET_FRAME_EXTENTS);
  const auto edges_cookie = ask(window_, atoms_.edge_constraints);
  const auto floating_cookie = ask(window_, atoms_.i3_floating);
  const auto manager_cookies = AskForManager();
  const auto i3_cookie = xcb_get_property(connection_, 0, root_, atoms_.i3_socket_path,
                                          XCB_GET_PROPERTY_TYPE_ANY, 0, 1);

  const auto geometry = Owned(xcb_get_geometry_reply(connection_, geometry_cookie, nullptr));
  const auto origin = Owned(xcb_translate_coordinates_reply(connection_, origin_cookie, nullptr));
  const auto attributes =
      Owned(xcb_get_window_attributes_reply(connection_, attributes_cookie, nullptr));
  const auto pointer = Owned(xcb_query_pointer_reply(connection_, pointer_cookie, nullptr));
  const auto tree = Owned(xcb_query_tree_reply(connection_, tree_cookie, nullptr));
  const bool managed = !hear(managed_cookie).empty();
  const auto states = hear(states_cookie);
  const auto frame = hear(frame_cookie);
  const auto edges = hear(edges_cookie);
  const bool floating = !hear(floating_cookie).empty();
  const bool has_manager = HearManager(manager_cookies);
  const auto i3 = Owned(xcb_get_property_reply(connection_, i3_cookie, nullptr));
  if (!geometry || !origin || !attributes || !pointer || !tree) return std::nullopt;

  X11Look look;
  look.has_manager = has_manager;
  look.on_screen =
      attributes->map_state == XCB_MAP_STATE_VIEWABLE && (managed || !look.has_manager);
  look.client = QRect(origin->dst_x, origin->dst_y, geometry->width, geometry->height);
  if (look.has_manager) look.frame = FrameOf(frame);
  look.parent = tree->parent;
  constexpr int kAnyButton = XCB_BUTTON_MASK_1 | XCB_BUTTON_MASK_2 | XCB_BUTTON_MASK_3;
  look.button_is_held = (pointer->mask & kAnyButton) != 0;
  const bool tiled_by_i3 = i3 && i3->type != XCB_NONE && look.on_screen && !floating;
  look.stretched = look.has_manager &&
                   (Holds(states, ewmh_._NET_WM_STATE_MAXIMIZED_HORZ) ||
                    Holds(states, ewmh_._NET_WM_STATE_MAXIMIZED_VERT) ||
                    Holds(states, ewmh_._NET_WM_STATE_FULLSCREEN) || IsTiled(edges) || tiled_by_i3);
  return look;
}

void X11Window::RequestFrame() {
  xcb_ewmh_request_frame_extents(&ewmh_, kScreen, window_);
  xcb_flush(connection_);
}

bool X11Window::AnnouncesFrames() {
  const auto supported_cookie = AskNumbers(connection_, root_, ewmh_._NET_SUPPORTED);
  const auto manager_cookies = AskForManager();
  const auto supported = Numbers(connection_, supported_cookie);
  return HearManager(manager_cookies) && Holds(supported, ewmh_._NET_REQUEST_FRAME_EXTENTS);
}

QRect X11Window::WithoutPanels(const QRect& screen, bool alone) {
  return vantoscope::WithoutPanels(ewmh_, root_, screen, alone);
}

// A manager reads the property when it takes the window, and listens to messages from then on.
void X11Window::SetAbove(bool above, bool shown) {
  const auto look = shown ? Look() : std::nullopt;
  if (!look || !look->on_screen || !look->has_manager) {
    xcb_ewmh_set_wm_state(&ewmh_, window_, above ? 1 : 0, &ewmh_._NET_WM_STATE_ABOVE);
  }
  xcb_ewmh_request_change_wm_state(
      &ewmh_, kScreen, window_, above ? XCB_EWMH_WM_STATE_ADD : XCB_EWMH_WM_STATE_REMOVE,
      ewmh_._NET_WM_STATE_ABOVE, XCB_NONE, XCB_EWMH_CLIENT_SOURCE_TYPE_NORMAL);
  xcb_flush(connection_);
}

void X11Window::AcceptFocus(bool accept) {
  xcb_icccm_wm_hints_t hints{};
  const auto cookie = xcb_icccm_get_wm_hints(connection_, window_);
  if (xcb_icccm_get_wm_hints_reply(connection_, cookie, &hints, nullptr) == 0) return;
  xcb_icccm_wm_hints_set_input(&hints, accept ? 1 : 0);
  xcb_icccm_set_wm_hints(connection_, window_, &hints);
  xcb_flush(connection_);
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

void X11Window::AllowEverySize() {
  constexpr std::uint32_t kSteps = XCB_ICCCM_SIZE_HINT_P_RESIZE_INC | XCB_ICCCM_SIZE_HINT_BASE_SIZE;
  auto hints = SizeHints();
  if (!hints || (hints->flags & kSteps) == 0) return;
  hints->flags &= ~kSteps;
  xcb_icccm_set_wm_normal_hints(connection_, window_, &*hints);
  xcb_flush(connection_);
}

void X11Window::Place(const QRect& client, const QMargins& frame) {
  AllowEverySize();
  const QPoint position = HearManager(AskForManager()) && PositionIsOuterCorner()
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
