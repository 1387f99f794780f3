// SPDX-License-Identifier: GPL-3.0-or-later
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

/// What one look at a window finds; lengths are device pixels of the screen.
struct X11Look {
  bool has_manager = false;  ///< a window manager that follows the common conventions runs
  bool on_screen = false;    ///< mapped and, with a manager, managed
  QRect client;              ///< without the frame
  QMargins frame;  ///< of the manager, also the one it announces for a window not yet mapped
  xcb_window_t parent = XCB_NONE;
  bool button_is_held = false;  ///< any button of the pointer, wherever that is
  /// Maximised, full screen or tiled: the size and place are the manager's.
  bool stretched = false;
};

class X11Window {
 public:
  /// Null on a broken connection.
  static std::unique_ptr<X11Window> Open(xcb_connection_t* connection, xcb_window_t window);
  ~X11Window();
  X11Window(const X11Window&) = delete;
  X11Window& operator=(const X11Window&) = delete;

  std::optional<X11Look> Look();
  /// Asks the manager to announce the frame before the window is mapped.
  void RequestFrame();
  /// Whether the manager answers RequestFrame.
  bool AnnouncesFrames();
  /// `screen` without the panels of the desktop. `alone`: it is the only one.
  QRect WithoutPanels(const QRect& screen, bool alone);
  /// Asks for a place: `client` without the frame, `frame` around it.
  void Place(const QRect& client, const QMargins& frame);
  /// Keeps the window above all others, or no longer, as its manager's state of the window.
  /// `shown`: it has been shown, so that a manager may have it in hand.
  void SetAbove(bool above, bool shown);
  /// Whether the manager may give the window the keyboard.
  void AcceptFocus(bool accept);
  /// Removes from the hints of the window that its sizes come in steps. Where the desktop is scaled
  /// the toolkit asks for steps of a whole logical pixel each time it writes them.
  void AllowEverySize();

 private:
  /// Names that the library of the common conventions does not know.
  struct Atoms {
    xcb_atom_t wm_state = XCB_ATOM_NONE;
    xcb_atom_t edge_constraints = XCB_ATOM_NONE;
    xcb_atom_t i3_socket_path = XCB_ATOM_NONE;
    xcb_atom_t i3_floating = XCB_ATOM_NONE;
  };

  X11Window(const xcb_ewmh_connection_t& ewmh, const Atoms& atoms, xcb_window_t window);
  /// The two questions that tell whether a manager runs, the second as far as it is known.
  struct ManagerCookies {
    xcb_get_property_cookie_t by_root;
    xcb_get_property_cookie_t by_itself;
    xcb_window_t asked;
  };
  xcb_get_property_cookie_t AskWhoManages(xcb_window_t window);
  ManagerCookies AskForManager();
  bool HearManager(const ManagerCookies& cookies);
  std::optional<xcb_size_hints_t> SizeHints();
  bool PositionIsOuterCorner();

  xcb_ewmh_connection_t ewmh_;
  xcb_connection_t* connection_;
  Atoms atoms_;
  xcb_window_t window_;
  xcb_window_t root_;
  xcb_window_t manager_ = XCB_NONE;  ///< as last heard of
};

}  // namespace vantoscope
