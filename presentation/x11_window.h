// What the toolkit does not tell or do exactly about a top-level window on X11: its place in device
// pixels, the frame around it, and whether a window manager has taken it. All calls ask the server;
// on a broken connection they answer with nothing.
#pragma once

#include <xcb/xcb_ewmh.h>
#include <xcb/xcb_icccm.h>

#include <QMargins>
#include <QRect>
#include <memory>
#include <optional>

namespace vantoscope {

class X11Window {
 public:
  /// Null on a broken connection.
  static std::unique_ptr<X11Window> Open(xcb_connection_t* connection, xcb_window_t window);
  ~X11Window();
  X11Window(const X11Window&) = delete;
  X11Window& operator=(const X11Window&) = delete;

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
  X11Window(const xcb_ewmh_connection_t& ewmh, xcb_atom_t wm_state, xcb_window_t window);
  std::optional<xcb_window_t> ManagerNamedBy(xcb_window_t window);
  bool IsManaged();
  std::optional<xcb_size_hints_t> SizeHints();
  bool PositionIsOuterCorner();
  void AllowEverySize();

  xcb_ewmh_connection_t ewmh_;
  xcb_connection_t* connection_;
  xcb_atom_t wm_state_;
  xcb_window_t window_;
  xcb_window_t root_;
};

}  // namespace vantoscope
