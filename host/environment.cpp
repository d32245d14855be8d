#include "host/environment.h"

#include <cstdlib>

namespace host {

namespace {

std::string Value(const char* variable) {
  const char* const value = std::getenv(variable);
  return value == nullptr ? "" : value;
}

std::string Described(const char* variable) {
  const std::string value = Value(variable);
  return std::string(variable) + (value.empty() ? " is not set" : " is \"" + value + "\"");
}

}  // namespace

bool DisplayPresent() { return !Value("DISPLAY").empty() || !Value("WAYLAND_DISPLAY").empty(); }

bool ChooseEglPlatform() {
  if (DisplayPresent() || !Value("EGL_PLATFORM").empty()) return false;
  setenv("EGL_PLATFORM", "surfaceless", 1);
  return true;
}

std::string EglAdvice() {
  return "OpenGL ES needs a display that runs (" + Described("DISPLAY") + ", " + Described("WAYLAND_DISPLAY") +
         "), or EGL_PLATFORM=surfaceless to draw without one (" + Described("EGL_PLATFORM") +
         "), and the packages libegl1, libgles2, libegl-mesa0 and libgl1-mesa-dri";
}

}  // namespace host
