// What the toolkit does not tell or do exactly about a top-level window on X11: its place in device
// pixels, the frame around it, and whether a window manager has taken it. All calls ask the server;
// on a broken connection they answer with nothing.
#pragma once

#include <xcb/xcb.h>

#include <QMargins>
#include <QRect>
#include <array>
#include <map>
#include <optional>
#include <string_view>
#include <vector>

namespace vantoscope {

class X11Window {
 public:
  X11Window(xcb_connection_t* connection, xcb_window_t window);

  /// True when a window manager that follows the common conventions runs.
  bool HasManager();
  /// True when the window is on the screen: mapped and, with a manager, managed.
  bool IsPlaced();
  /// The window without its frame, in device pixels of the screen.
  std::optional<QRect> Client();
  /// Widths of the manager's frame, also those it announces for a window not yet mapped.
  std::optional<QMargins> Frame();
  /// Asks the manager to announce the frame before the window is mapped.
  void RequestFrame();
  /// Asks for a place: `client` without the frame, `frame` around it.
  void Place(const QRect& client, const QMargins& frame);
  /// Keeps the window above all others, or no longer, as its manager's state of the window.
  void SetAbove(bool above);
  /// True while any button of the pointer is down, wherever the pointer is.
  bool ButtonIsHeld();

 private:
  void SendToManager(std::string_view type, const std::array<std::uint32_t, 4>& data);
  std::vector<std::uint32_t> Numbers(xcb_window_t window, std::string_view property,
                                     std::uint32_t count);
  /// `name` is a literal.
  xcb_atom_t Atom(std::string_view name);
  bool PositionIsOuterCorner();
  void AllowEverySize();

  xcb_connection_t* connection_;
  xcb_window_t window_;
  xcb_window_t root_;
  std::map<std::string_view, xcb_atom_t> atoms_;
};

}  // namespace vantoscope
