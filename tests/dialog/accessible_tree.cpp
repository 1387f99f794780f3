#include "tests/dialog/accessible_tree.h"

#include <atspi/atspi.h>

#include <cstdlib>
#include <memory>

namespace vantoscope::test {
namespace {

struct Unref {
  void operator()(gpointer object) const { g_object_unref(object); }
};
using Accessible = std::unique_ptr<AtspiAccessible, Unref>;

std::string Taken(char* text) {
  std::string copy = text != nullptr ? text : "";
  g_free(text);
  return copy;
}

std::vector<Accessible> Children(AtspiAccessible* parent) {
  std::vector<Accessible> children;
  const int count = atspi_accessible_get_child_count(parent, nullptr);
  for (int i = 0; i < count; ++i) {
    Accessible child(atspi_accessible_get_child_at_index(parent, i, nullptr));
    if (child) children.push_back(std::move(child));
  }
  return children;
}

AccessibleItem Describe(AtspiAccessible* accessible) {
  const std::unique_ptr<AtspiStateSet, Unref> states(atspi_accessible_get_state_set(accessible));
  return {Taken(atspi_accessible_get_role_name(accessible, nullptr)),
          Taken(atspi_accessible_get_name(accessible, nullptr)),
          atspi_state_set_contains(states.get(), ATSPI_STATE_FOCUSABLE) != FALSE,
          atspi_state_set_contains(states.get(), ATSPI_STATE_ENABLED) != FALSE};
}

void Collect(AtspiAccessible* accessible, std::vector<AccessibleItem>& items) {
  items.push_back(Describe(accessible));
  for (const Accessible& child : Children(accessible)) Collect(child.get(), items);
}

}  // namespace

void ConnectToAccessibility(const std::string& display, const std::string& session_bus) {
  setenv("DISPLAY", display.c_str(), 1);
  setenv("DBUS_SESSION_BUS_ADDRESS", session_bus.c_str(), 1);
  atspi_init();
}

std::vector<AccessibleItem> AccessibleItems(pid_t pid, const std::string& title) {
  std::vector<AccessibleItem> items;
  const Accessible desktop(atspi_get_desktop(0));
  for (const Accessible& application : Children(desktop.get())) {
    if (atspi_accessible_get_process_id(application.get(), nullptr) != static_cast<guint>(pid)) {
      continue;
    }
    atspi_accessible_clear_cache(application.get());
    for (const Accessible& window : Children(application.get())) {
      if (Describe(window.get()).name.starts_with(title)) Collect(window.get(), items);
    }
  }
  return items;
}

}  // namespace vantoscope::test
