// SPDX-License-Identifier: GPL-3.0-or-later
#include "presentation/x11_panels.h"

#include <algorithm>
#include <vector>

#include "presentation/x11_properties.h"

namespace vantoscope {
namespace {

constexpr std::size_t kStrutNumbers = 4;          // widths at the left, right, top and bottom edge
constexpr std::size_t kPartialStrutNumbers = 12;  // and from where to where each of them reaches

int Pixels(std::uint32_t number) { return static_cast<int>(number); }

QRect FromEdges(int left, int top, int right, int bottom) {  // the last two lie outside
  return {left, top, right - left, bottom - top};
}

/// What is left of `room` beside a panel at one edge of the desktop.
QRect Beside(const QRect& room, const QRect& panel, Qt::Edge edge) {
  const QRect taken = room & panel;
  if (taken.isEmpty()) return room;
  QRect left = room;
  switch (edge) {
    case Qt::LeftEdge:
      left.setLeft(taken.right() + 1);
      break;
    case Qt::RightEdge:
      left.setRight(taken.left() - 1);
      break;
    case Qt::TopEdge:
      left.setTop(taken.bottom() + 1);
      break;
    case Qt::BottomEdge:
      left.setBottom(taken.top() - 1);
      break;
  }
  const bool plausible = left.width() * 2 > room.width() && left.height() * 2 > room.height();
  return plausible ? left : room;
}

/// Without the edges of a desktop that one window reserves.
QRect WithoutStrut(QRect room, std::vector<std::uint32_t> strut, const QRect& desktop) {
  if (strut.size() < kStrutNumbers) return room;
  if (strut.size() < kPartialStrutNumbers) {
    const auto last_row = static_cast<std::uint32_t>(desktop.bottom());
    const auto last_column = static_cast<std::uint32_t>(desktop.right());
    strut.resize(kStrutNumbers);
    strut.insert(strut.end(), {0, last_row, 0, last_row, 0, last_column, 0, last_column});
  }
  const auto at = [&](std::size_t index) { return Pixels(strut[index]); };
  const int right = desktop.right() + 1;
  const int bottom = desktop.bottom() + 1;
  room = Beside(room, FromEdges(0, at(4), at(0), at(5) + 1), Qt::LeftEdge);
  room = Beside(room, FromEdges(right - at(1), at(6), right, at(7) + 1), Qt::RightEdge);
  room = Beside(room, FromEdges(at(8), 0, at(9) + 1, at(2)), Qt::TopEdge);
  return Beside(room, FromEdges(at(10), bottom - at(3), at(11) + 1, bottom), Qt::BottomEdge);
}

QRect WithinWorkArea(xcb_ewmh_connection_t& ewmh, xcb_window_t root, const QRect& room) {
  xcb_connection_t* const connection = ewmh.connection;
  const auto area_cookie = AskNumbers(connection, root, ewmh._NET_WORKAREA);
  const auto desktop_cookie = AskNumbers(connection, root, ewmh._NET_CURRENT_DESKTOP);
  const std::vector<std::uint32_t> areas = Numbers(connection, area_cookie);
  const std::vector<std::uint32_t> current = Numbers(connection, desktop_cookie);
  constexpr std::size_t kNumbers = 4;
  const std::size_t first = current.empty() ? 0 : std::size_t{current[0]} * kNumbers;
  if (areas.size() < first + kNumbers) return room;
  const QRect inside = room & QRect(Pixels(areas[first]), Pixels(areas[first + 1]),
                                    Pixels(areas[first + 2]), Pixels(areas[first + 3]));
  return inside.isEmpty() ? room : inside;
}

std::vector<xcb_window_t> ChildrenOf(xcb_connection_t* connection,
                                     const std::vector<xcb_window_t>& parents) {
  std::vector<xcb_query_tree_cookie_t> cookies;
  cookies.reserve(parents.size());
  for (const xcb_window_t parent : parents) cookies.push_back(xcb_query_tree(connection, parent));
  std::vector<xcb_window_t> children;
  for (const auto& cookie : cookies) {
    const auto tree = Owned(xcb_query_tree_reply(connection, cookie, nullptr));
    if (!tree) continue;
    const xcb_window_t* const first = xcb_query_tree_children(tree.get());
    children.insert(children.end(), first, first + tree->children_len);
  }
  return children;
}

/// Windows that may be panels. A manager that knows a work area lists them; where there is none,
/// they are children of the root or of the frames there.
std::vector<xcb_window_t> PossiblePanels(xcb_ewmh_connection_t& ewmh, xcb_window_t root) {
  xcb_connection_t* const connection = ewmh.connection;
  const auto area_cookie = AskNumbers(connection, root, ewmh._NET_WORKAREA);
  const auto list_cookie = AskNumbers(connection, root, ewmh._NET_CLIENT_LIST);
  const bool has_area = !Numbers(connection, area_cookie).empty();
  std::vector<xcb_window_t> listed = Numbers(connection, list_cookie);
  if (has_area) return listed;
  std::vector<xcb_window_t> windows = ChildrenOf(connection, {root});
  const std::vector<xcb_window_t> framed = ChildrenOf(connection, windows);
  windows.insert(windows.end(), framed.begin(), framed.end());
  return windows;
}

struct StrutCookies {
  xcb_get_property_cookie_t partial;
  xcb_get_property_cookie_t whole;
};

}  // namespace

QRect WithoutPanels(xcb_ewmh_connection_t& ewmh, xcb_window_t root, const QRect& screen,
                    bool alone) {
  xcb_connection_t* const connection = ewmh.connection;
  const auto size_cookie = xcb_get_geometry(connection, root);
  const auto size = Owned(xcb_get_geometry_reply(connection, size_cookie, nullptr));
  const QRect desktop = size ? QRect(0, 0, size->width, size->height) : screen;
  std::vector<StrutCookies> cookies;
  for (const xcb_window_t window : PossiblePanels(ewmh, root)) {
    cookies.push_back({AskNumbers(connection, window, ewmh._NET_WM_STRUT_PARTIAL),
                       AskNumbers(connection, window, ewmh._NET_WM_STRUT)});
  }
  QRect room = screen;
  for (const StrutCookies& cookie : cookies) {
    const auto partial = Numbers(connection, cookie.partial);
    const auto whole = Numbers(connection, cookie.whole);
    room = WithoutStrut(room, partial.empty() ? whole : partial, desktop);
  }
  return alone ? WithinWorkArea(ewmh, root, room) : room;
}

}  // namespace vantoscope
