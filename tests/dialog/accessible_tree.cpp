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

std::string Name(AtspiAccessible* accessible) {
  return Taken(atspi_accessible_get_name(accessible, nullptr));
}

void Collect(AtspiAccessible* accessible, std::vector<std::string>& spoken) {
  spoken.push_back(Taken(atspi_accessible_get_role_name(accessible, nullptr)) + ": " +
                   Name(accessible));
  for (const Accessible& child : Children(accessible)) Collect(child.get(), spoken);
}

}  // namespace

void ConnectToAccessibility(const std::string& display, const std::string& session_bus) {
  setenv("DISPLAY", display.c_str(), 1);
  setenv("DBUS_SESSION_BUS_ADDRESS", session_bus.c_str(), 1);
  atspi_init();
}

std::vector<std::string> Spoken(pid_t pid, const std::string& title) {
  std::vector<std::string> spoken;
  const Accessible desktop(atspi_get_desktop(0));
  for (const Accessible& application : Children(desktop.get())) {
    if (atspi_accessible_get_process_id(application.get(), nullptr) != static_cast<guint>(pid)) {
      continue;
    }
    atspi_accessible_clear_cache(application.get());
    for (const Accessible& window : Children(application.get())) {
      if (Name(window.get()).starts_with(title)) Collect(window.get(), spoken);
    }
  }
  return spoken;
}

}  // namespace vantoscope::test
