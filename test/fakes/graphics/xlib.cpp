#include <atomic>
#include <memory>
#include <type_traits>

#include "recorder.h"

// Last: its macros eat names.
#include <X11/Xlib.h>

using namespace fake_graphics;

namespace {

// What DefaultRootWindow and its like read. The default screen is not the first.
struct Connection {
  Screen screens[2] = {};
  std::remove_pointer_t<_XPrivDisplay> display = {};

  Connection() {
    screens[0].root = 100;
    screens[1].root = 101;
    display.nscreens = 2;
    display.default_screen = 1;
    display.screens = screens;
  }
};

const std::vector<NamedNumber> kEventMasks = {{KeyPressMask, "KeyPressMask"},
                                              {KeyReleaseMask, "KeyReleaseMask"},
                                              {StructureNotifyMask, "StructureNotifyMask"},
                                              {ExposureMask, "ExposureMask"}};

std::string WindowText(Machine& machine, Window window) {
  if (window == 100 || window == 101) return "root" + std::to_string(window - 100);
  return NameOf(machine.x_windows, window, "0");
}

// A call about an X display, which goes first in its arguments.
class XCall : public CallRecord {
 public:
  XCall(const char* function, Display* display)
      : CallRecord(function), display_(display), connection_(Find(machine().x_displays, display_, "X display")) {
    Arguments(NameOf(machine().x_displays, display_, "null"));
  }

  /// Whether the call may have an effect.
  bool IsGood() const { return connection_ != nullptr && !fault(); }
  XDisplay& connection() { return *connection_; }

  /// The window that is the next argument; null when it may not be used.
  XWindow* WindowArgument(Window window) {
    Arguments(WindowText(machine(), window));
    XWindow* found = Find(machine().x_windows, window, "window");
    if (found != nullptr && found->display != display_) Complain(found->name + " is another display's");
    return IsGood() ? found : nullptr;
  }

 private:
  const void* const display_;
  XDisplay* const connection_;
};

}  // namespace

FAKE_FUNCTION Display* XOpenDisplay(const char* name) {
  CallRecord call("XOpenDisplay");
  call.Arguments(name == nullptr ? "null" : Quoted(name));
  if (call.fault()) {
    call.Result("null");
    return nullptr;
  }
  const auto memory = std::make_shared<Connection>();
  auto* handle = reinterpret_cast<Display*>(&memory->display);
  XDisplay& display = call.machine().x_displays[handle];
  display.name = call.machine().NewName("xdisplay");
  display.memory = memory;
  call.Result(display.name);
  return handle;
}

FAKE_FUNCTION int XCloseDisplay(Display* handle) {
  XCall call("XCloseDisplay", handle);
  if (!call.IsGood()) return 0;
  call.ComplainAboutDisplaysOn(handle);
  for (auto& [id, window] : call.machine().x_windows) {
    if (window.display != handle || window.released) continue;
    call.Complain(window.name + " is still there");
    window.released = true;
  }
  call.connection().released = true;
  return 0;
}

FAKE_FUNCTION Window XCreateWindow(Display* display, Window parent, int x, int y, unsigned int width,
                                   unsigned int height, unsigned int border_width, int depth, unsigned int window_class,
                                   Visual* visual, unsigned long value_mask, XSetWindowAttributes* attributes) {
  XCall call("XCreateWindow", display);
  std::string values = BitsText({{CWEventMask, "CWEventMask"}}, value_mask);
  if (attributes != nullptr && (value_mask & CWEventMask) != 0) {
    values += ", {event_mask " + BitsText(kEventMasks, static_cast<unsigned long>(attributes->event_mask)) + "}";
  }
  call.Arguments(WindowText(call.machine(), parent), x, y, width, height, border_width,
                 depth == CopyFromParent ? "CopyFromParent" : Text(depth),
                 NumberText({{InputOutput, "InputOutput"}, {InputOnly, "InputOnly"}}, window_class),
                 visual == nullptr ? "CopyFromParent" : "visual", values);
  if (!call.IsGood()) {
    call.Result(0);
    return 0;
  }
  static std::atomic<Window> next_id{0x200001};
  const Window id = next_id++;
  XWindow& window = call.machine().x_windows[id];
  window.name = call.machine().NewName("window");
  window.display = display;
  call.Result(window.name);
  return id;
}

FAKE_FUNCTION int XMapWindow(Display* display, Window window) {
  XCall call("XMapWindow", display);
  return call.WindowArgument(window) != nullptr;
}

FAKE_FUNCTION int XStoreName(Display* display, Window window, const char* name) {
  XCall call("XStoreName", display);
  const bool good = call.WindowArgument(window) != nullptr;
  call.Arguments(Quoted(name));
  return good;
}

FAKE_FUNCTION int XFlush(Display* display) {
  XCall call("XFlush", display);
  return call.IsGood();
}

FAKE_FUNCTION int XDestroyWindow(Display* display, Window id) {
  XCall call("XDestroyWindow", display);
  XWindow* window = call.WindowArgument(id);
  if (window == nullptr) return 0;
  for (const auto& [handle, surface] : call.machine().surfaces) {
    if (surface.window == id && !surface.released) call.Complain(surface.name + " is still on it");
  }
  window->released = true;
  return 1;
}
