#include "support/x_session.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <xcb/xtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <system_error>
#include <thread>

namespace vantoscope::test {
namespace {

constexpr Milliseconds kPollInterval(4);
constexpr Milliseconds kBetweenClicks(40);  // quick fingers
constexpr std::uint32_t kShiftKey = 0xffe1;

struct Free {
  void operator()(void* reply) const { std::free(reply); }
};
template <typename T>
std::unique_ptr<T, Free> Owned(T* reply) {
  return std::unique_ptr<T, Free>(reply);
}

std::string FileText(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

/// The file with `descriptor` duplicated into it, for the child between fork and exec.
void Redirect(const std::filesystem::path& path, int descriptor) {
  const int file = open(path.c_str(), O_CREAT | O_WRONLY | O_APPEND | O_CLOEXEC, 0600);
  if (file < 0 || dup2(file, descriptor) < 0) {
    _exit(126);
  }
}

std::vector<char*> Pointers(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  pointers.reserve(texts.size() + 1);
  for (std::string& text : texts) {
    pointers.push_back(text.data());
  }
  pointers.push_back(nullptr);
  return pointers;
}

}  // namespace

bool WaitFor(const std::function<bool()>& condition, Milliseconds limit) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) {
      return false;
    }
    std::this_thread::sleep_for(kPollInterval);
  }
  return true;
}

TemporaryFolder::TemporaryFolder() {
  std::string name = (std::filesystem::temp_directory_path() / "vantoscope-test-XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) {
    throw std::system_error(errno, std::generic_category(), "temporary folder");
  }
  path_ = name;
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

Process::Process(const std::vector<std::string>& arguments, const Environment& environment) {
  std::vector<std::string> argument_texts = arguments;
  std::vector<std::string> environment_texts;
  for (const auto& [name, value] : environment) {
    environment_texts.push_back(name + "=" + value);
  }
  const std::vector<char*> argument_pointers = Pointers(argument_texts);
  const std::vector<char*> environment_pointers = Pointers(environment_texts);
  const std::filesystem::path output = folder_.Path() / "output";
  const std::filesystem::path errors = folder_.Path() / "errors";
  const pid_t parent = getpid();
  pid_ = fork();
  if (pid_ < 0) {
    throw std::system_error(errno, std::generic_category(), "fork");
  }
  if (pid_ == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent) {
      _exit(126);
    }
    Redirect("/dev/null", STDIN_FILENO);
    Redirect(output, STDOUT_FILENO);
    Redirect(errors, STDERR_FILENO);
    execvpe(argument_pointers[0], argument_pointers.data(), environment_pointers.data());
    _exit(127);
  }
}

Process::~Process() {
  if (Running()) {
    Signal(SIGKILL);
    WaitForExit();
  }
}

bool Process::Running() { return !WaitForExit(Milliseconds(0)).has_value(); }

void Process::Signal(int number) const {
  if (!exit_code_) {
    kill(pid_, number);
  }
}

std::optional<int> Process::WaitForExit(Milliseconds limit) {
  if (!exit_code_) {
    WaitFor(
        [this] {
          int status = 0;
          if (waitpid(pid_, &status, WNOHANG) == pid_) {
            exit_code_ = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
          }
          return exit_code_.has_value();
        },
        limit);
  }
  return exit_code_;
}

std::string Process::Output() const { return FileText(folder_.Path() / "output"); }
std::string Process::Errors() const { return FileText(folder_.Path() / "errors"); }

std::ostream& operator<<(std::ostream& out, const Rectangle& rectangle) {
  return out << rectangle.width << "x" << rectangle.height << "+" << rectangle.x << "+"
             << rectangle.y;
}

XSession::XSession(const Options& options) {
  const std::string home = HomePath().string();
  const std::filesystem::path runtime = HomePath() / "run";
  std::filesystem::create_directories(runtime);
  std::filesystem::permissions(runtime, std::filesystem::perms::owner_all);
  const char* path = std::getenv("PATH");
  environment_ = {{"PATH", path != nullptr ? path : "/usr/bin:/bin"},
                  {"HOME", home},
                  {"XDG_CONFIG_HOME", home + "/.config"},
                  {"XDG_CACHE_HOME", home + "/.cache"},
                  {"XDG_DATA_HOME", home + "/.local/share"},
                  {"XDG_RUNTIME_DIR", runtime.string()},
                  {"LANG", "C.UTF-8"}};

  std::array<int, 2> ready{};
  if (pipe(ready.data()) != 0) {
    throw std::system_error(errno, std::generic_category(), "pipe");
  }
  fcntl(ready[0], F_SETFD, FD_CLOEXEC);
  server_ = std::make_unique<Process>(
      std::vector<std::string>{
          "Xvfb", "-displayfd", std::to_string(ready[1]), "-screen", "0",
          std::to_string(options.width) + "x" + std::to_string(options.height) + "x24", "-nolisten",
          "tcp", "-noreset", "-dpi", "96"},
      environment_);
  close(ready[1]);
  std::string number;
  pollfd wait{ready[0], POLLIN, 0};
  std::array<char, 16> buffer{};
  while (number.find('\n') == std::string::npos && poll(&wait, 1, 20000) > 0) {
    const ssize_t count = read(ready[0], buffer.data(), buffer.size());
    if (count <= 0) {
      break;
    }
    number.append(buffer.data(), static_cast<std::size_t>(count));
  }
  close(ready[0]);
  if (number.empty()) {
    throw std::runtime_error("Xvfb does not start: " + server_->Errors());
  }
  display_ = std::stoi(number);
  environment_["DISPLAY"] = DisplayName();
  connection_ = xcb_connect(DisplayName().c_str(), nullptr);
  if (xcb_connection_has_error(connection_) != 0) {
    throw std::runtime_error("no connection to " + DisplayName());
  }
  root_ = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data->root;
  MovePointer(options.width - 1, options.height - 1);

  if (options.accessibility) {
    StartAccessibility();
  }
  if (options.window_manager) {
    StartWindowManager();
  }
}

// Openbox shows itself before it listens, and a window that is mapped in between stays unseen. So
// it is ready when it answers.
void XSession::StartWindowManager() {
  window_manager_ = Start({"openbox", "--sm-disable"});
  const xcb_window_t probe = xcb_generate_id(connection_);
  xcb_create_window(connection_, XCB_COPY_FROM_PARENT, probe, root_, 0, 0, 10, 10, 0,
                    XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
  const bool answered = WaitFor([&] {
    if (Numbers(root_, "_NET_SUPPORTING_WM_CHECK").empty()) {
      return false;
    }
    SendToManager(probe, "_NET_REQUEST_FRAME_EXTENTS", {});
    return !Numbers(probe, "_NET_FRAME_EXTENTS").empty();
  });
  xcb_destroy_window(connection_, probe);
  if (!answered) {
    throw std::runtime_error("openbox does not start: " + window_manager_->Errors());
  }
}

void XSession::SendToManager(xcb_window_t window, const std::string& type,
                             const std::array<std::uint32_t, 5>& data) {
  xcb_client_message_event_t event{};
  event.response_type = XCB_CLIENT_MESSAGE;
  event.format = 32;
  event.window = window;
  event.type = Atom(type);
  std::copy(data.begin(), data.end(), event.data.data32);
  xcb_send_event(connection_, 0, root_,
                 XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                 reinterpret_cast<const char*>(&event));
  xcb_flush(connection_);
}

XSession::~XSession() {
  if (connection_ != nullptr) {
    xcb_disconnect(connection_);
  }
  for (const std::unique_ptr<Process>* process :
       {&window_manager_, &accessibility_, &bus_, &server_}) {
    if (*process) {
      (*process)->Signal(SIGTERM);
      (*process)->WaitForExit(Milliseconds(5000));
    }
  }
}

void XSession::StartAccessibility() {
  const std::string address = "unix:path=" + environment_["XDG_RUNTIME_DIR"] + "/bus";
  bus_ = Start({"dbus-daemon", "--session", "--nofork", "--nopidfile", "--address=" + address});
  if (!WaitFor(
          [this] { return std::filesystem::exists(environment_["XDG_RUNTIME_DIR"] + "/bus"); })) {
    throw std::runtime_error("dbus-daemon does not start: " + bus_->Errors());
  }
  environment_["DBUS_SESSION_BUS_ADDRESS"] = address;
  accessibility_ = Start({"/usr/libexec/at-spi-bus-launcher", "--launch-immediately"});
  if (!WaitFor([this] { return !Property(root_, "AT_SPI_BUS").empty(); })) {
    throw std::runtime_error("the accessibility bus does not start: " + accessibility_->Errors());
  }
  environment_["QT_LINUX_ACCESSIBILITY_ALWAYS_ON"] = "1";
}

std::string XSession::DisplayName() const {
  return std::string(":").append(std::to_string(display_));
}

std::unique_ptr<Process> XSession::Start(const std::vector<std::string>& arguments,
                                         const Environment& extra) {
  Environment environment = environment_;
  for (const auto& [name, value] : extra) {
    environment[name] = value;
  }
  return std::make_unique<Process>(arguments, environment);
}

void XSession::AddSettings(const std::string& text) const {
  std::filesystem::create_directories(SettingsFile().parent_path());
  std::ofstream(SettingsFile(), std::ios::app) << text;
}

std::map<std::string, std::string> XSession::Settings(const std::string& section) const {
  std::ifstream file(SettingsFile());
  std::map<std::string, std::string> settings;
  bool inside = false;
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with('[')) inside = line == "[" + section + "]";
    const std::size_t equals = line.find('=');
    if (inside && equals != std::string::npos) {
      settings[line.substr(0, equals)] = line.substr(equals + 1);
    }
  }
  return settings;
}

void XSession::KillServer() {
  server_->Signal(SIGKILL);
  server_->WaitForExit();
}

xcb_atom_t XSession::Atom(const std::string& name) {
  const auto known = atoms_.find(name);
  if (known != atoms_.end()) {
    return known->second;
  }
  const auto reply = Owned(xcb_intern_atom_reply(
      connection_,
      xcb_intern_atom(connection_, 0, static_cast<std::uint16_t>(name.size()), name.c_str()),
      nullptr));
  if (!reply) {
    throw std::runtime_error("the X server is gone");
  }
  return atoms_[name] = reply->atom;
}

std::vector<std::uint8_t> XSession::Property(xcb_window_t window, const std::string& name) {
  const auto reply = Owned(xcb_get_property_reply(
      connection_,
      xcb_get_property(connection_, 0, window, Atom(name), XCB_GET_PROPERTY_TYPE_ANY, 0, 4096),
      nullptr));
  if (!reply) {
    return {};
  }
  const auto* bytes = static_cast<const std::uint8_t*>(xcb_get_property_value(reply.get()));
  return {bytes, bytes + xcb_get_property_value_length(reply.get())};
}

std::vector<std::uint32_t> XSession::Numbers(xcb_window_t window, const std::string& name) {
  const std::vector<std::uint8_t> bytes = Property(window, name);
  std::vector<std::uint32_t> numbers(bytes.size() / sizeof(std::uint32_t));
  if (!numbers.empty()) {
    std::memcpy(numbers.data(), bytes.data(), numbers.size() * sizeof(std::uint32_t));
  }
  return numbers;
}

std::vector<xcb_window_t> XSession::Children(xcb_window_t window) {
  const auto reply =
      Owned(xcb_query_tree_reply(connection_, xcb_query_tree(connection_, window), nullptr));
  if (!reply) {
    return {};
  }
  const xcb_window_t* children = xcb_query_tree_children(reply.get());
  return {children, children + xcb_query_tree_children_length(reply.get())};
}

void XSession::CollectWindows(xcb_window_t parent, int depth, std::vector<WindowInfo>& windows) {
  for (const xcb_window_t child : Children(parent)) {
    const auto attributes = Owned(xcb_get_window_attributes_reply(
        connection_, xcb_get_window_attributes(connection_, child), nullptr));
    if (!attributes || attributes->map_state != XCB_MAP_STATE_VIEWABLE) {
      continue;
    }
    const std::vector<std::uint32_t> pid = Numbers(child, "_NET_WM_PID");
    if (!pid.empty()) {
      windows.push_back({child, static_cast<pid_t>(pid[0]), Title(child)});
    } else if (depth > 1) {
      CollectWindows(child, depth - 1, windows);
    }
  }
}

std::vector<WindowInfo> XSession::Windows() {
  std::vector<WindowInfo> windows;
  CollectWindows(root_, 3, windows);
  return windows;
}

xcb_window_t XSession::WaitForWindow(pid_t pid, const std::string& title, Milliseconds limit) {
  xcb_window_t found = 0;
  WaitFor(
      [&] {
        for (const WindowInfo& window : Windows()) {
          if (window.pid == pid && (title.empty() || window.title == title)) {
            found = window.id;
          }
        }
        return found != 0;
      },
      limit);
  return found;
}

bool XSession::WaitUntilUnmapped(xcb_window_t window, Milliseconds limit) {
  return WaitFor([&] { return !Mapped(window); }, limit);
}

bool XSession::Mapped(xcb_window_t window) {
  const auto attributes = Owned(xcb_get_window_attributes_reply(
      connection_, xcb_get_window_attributes(connection_, window), nullptr));
  return attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE;
}

std::string XSession::Title(xcb_window_t window) {
  const std::vector<std::uint8_t> title = Property(window, "_NET_WM_NAME");
  return {title.begin(), title.end()};
}

Rectangle XSession::Client(xcb_window_t window) {
  const auto geometry =
      Owned(xcb_get_geometry_reply(connection_, xcb_get_geometry(connection_, window), nullptr));
  const auto origin = Owned(xcb_translate_coordinates_reply(
      connection_, xcb_translate_coordinates(connection_, window, root_, 0, 0), nullptr));
  if (!geometry || !origin) {
    return {};
  }
  return {origin->dst_x, origin->dst_y, geometry->width, geometry->height};
}

FrameExtents XSession::Extents(xcb_window_t window) {
  if (!window_manager_ || !window_manager_->Running()) {
    return {};
  }
  const std::vector<std::uint32_t> values = Numbers(window, "_NET_FRAME_EXTENTS");
  if (values.size() != 4) {
    return {};
  }
  return {static_cast<int>(values[0]), static_cast<int>(values[1]), static_cast<int>(values[2]),
          static_cast<int>(values[3])};
}

Rectangle XSession::Outer(xcb_window_t window) {
  const Rectangle client = Client(window);
  const FrameExtents frame = Extents(window);
  return {client.x - frame.left, client.y - frame.top, client.width + frame.left + frame.right,
          client.height + frame.top + frame.bottom};
}

double XSession::Opacity(xcb_window_t window) {
  const std::vector<std::uint32_t> value = Numbers(window, "_NET_WM_WINDOW_OPACITY");
  return value.empty() ? 1.0 : value[0] / 4294967295.0;
}

bool XSession::HasState(xcb_window_t window, const std::string& state) {
  const std::vector<std::uint32_t> states = Numbers(window, "_NET_WM_STATE");
  return std::find(states.begin(), states.end(), Atom(state)) != states.end();
}

xcb_window_t XSession::TopLevel(xcb_window_t window) {
  while (true) {
    const auto reply =
        Owned(xcb_query_tree_reply(connection_, xcb_query_tree(connection_, window), nullptr));
    if (!reply || reply->parent == root_ || reply->parent == 0) {
      return window;
    }
    window = reply->parent;
  }
}

bool XSession::IsAbove(xcb_window_t window, xcb_window_t other) {
  const std::vector<xcb_window_t> order = Children(root_);
  const auto place = [&](xcb_window_t which) {
    return std::find(order.begin(), order.end(), TopLevel(which));
  };
  return place(window) > place(other);
}

xcb_window_t XSession::Focus() {
  const auto reply =
      Owned(xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr));
  if (!reply || reply->focus <= 1) {  // none, or wherever the pointer is
    return 0;
  }
  // The toolkit may give the keyboard to a child of its window.
  for (const WindowInfo& window : Windows()) {
    const std::vector<xcb_window_t> inner = Children(window.id);
    if (window.id == reply->focus ||
        std::find(inner.begin(), inner.end(), reply->focus) != inner.end()) {
      return window.id;
    }
  }
  return reply->focus;
}

void XSession::Fake(std::uint8_t type, std::uint8_t detail, int x, int y) {
  xcb_test_fake_input(connection_, type, detail, XCB_CURRENT_TIME, root_,
                      static_cast<std::int16_t>(x), static_cast<std::int16_t>(y), 0);
  Owned(xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr));
}

void XSession::MovePointer(int x, int y) { Fake(XCB_MOTION_NOTIFY, 0, x, y); }
void XSession::Press(std::uint8_t button) { Fake(XCB_BUTTON_PRESS, button); }
void XSession::Release(std::uint8_t button) { Fake(XCB_BUTTON_RELEASE, button); }

void XSession::Click(int x, int y) {
  MovePointer(x, y);
  Press();
  Release();
}

void XSession::DoubleClick(int x, int y) {
  Click(x, y);
  // A window manager sees each press first and swallows one that comes too soon after another.
  std::this_thread::sleep_for(kBetweenClicks);
  Click(x, y);
}

std::uint8_t XSession::KeyCode(std::uint32_t symbol, bool& shifted) {
  const xcb_setup_t* setup = xcb_get_setup(connection_);
  const auto count = static_cast<std::uint8_t>(setup->max_keycode - setup->min_keycode + 1);
  const auto map = Owned(xcb_get_keyboard_mapping_reply(
      connection_, xcb_get_keyboard_mapping(connection_, setup->min_keycode, count), nullptr));
  if (map) {
    const xcb_keysym_t* symbols = xcb_get_keyboard_mapping_keysyms(map.get());
    for (int level = 0; level < 2; ++level) {
      for (int code = 0; code < count; ++code) {
        if (symbols[code * map->keysyms_per_keycode + level] == symbol) {
          shifted = level == 1;
          return static_cast<std::uint8_t>(setup->min_keycode + code);
        }
      }
    }
  }
  throw std::runtime_error("no key for symbol " + std::to_string(symbol));
}

void XSession::Key(std::uint32_t symbol, const std::vector<std::uint32_t>& held) {
  bool shifted = false;
  const std::uint8_t code = KeyCode(symbol, shifted);
  std::vector<std::uint32_t> down = held;
  if (shifted) {
    down.push_back(kShiftKey);
  }
  bool ignored = false;
  for (const std::uint32_t modifier : down) {
    Fake(XCB_KEY_PRESS, KeyCode(modifier, ignored));
  }
  Fake(XCB_KEY_PRESS, code);
  Fake(XCB_KEY_RELEASE, code);
  for (auto modifier = down.rbegin(); modifier != down.rend(); ++modifier) {
    Fake(XCB_KEY_RELEASE, KeyCode(*modifier, ignored));
  }
}

void XSession::Type(const std::string& text) {
  for (const char character : text) {
    Key(static_cast<unsigned char>(character));
  }
}

void XSession::CloseWindow(xcb_window_t window) {
  if (window_manager_ && window_manager_->Running()) {
    SendToManager(window, "_NET_CLOSE_WINDOW", {XCB_CURRENT_TIME, 2});  // 2: the wish of the user
    return;
  }
  xcb_client_message_event_t event{};
  event.response_type = XCB_CLIENT_MESSAGE;
  event.format = 32;
  event.window = window;
  event.type = Atom("WM_PROTOCOLS");
  event.data.data32[0] = Atom("WM_DELETE_WINDOW");
  xcb_send_event(connection_, 0, window, XCB_EVENT_MASK_NO_EVENT,
                 reinterpret_cast<const char*>(&event));
  xcb_flush(connection_);
}

QImage XSession::Screenshot(const Rectangle& area) {
  const auto reply = Owned(xcb_get_image_reply(
      connection_,
      xcb_get_image(connection_, XCB_IMAGE_FORMAT_Z_PIXMAP, root_,
                    static_cast<std::int16_t>(area.x), static_cast<std::int16_t>(area.y),
                    static_cast<std::uint16_t>(area.width), static_cast<std::uint16_t>(area.height),
                    ~0U),
      nullptr));
  if (!reply) {
    return {};
  }
  return QImage(xcb_get_image_data(reply.get()), area.width, area.height, QImage::Format_RGB32)
      .copy();
}

}  // namespace vantoscope::test
