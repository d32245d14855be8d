// What the environment says about displays.

#ifndef HOST_ENVIRONMENT_H_
#define HOST_ENVIRONMENT_H_

#include <string>

namespace host {

/// True when DISPLAY or WAYLAND_DISPLAY names a display.
bool DisplayPresent();

/// With neither a display nor EGL_PLATFORM, chooses EGL_PLATFORM=surfaceless, Mesa's way to draw without a
/// display, and returns true.
///
/// Thread   before there is another one, and before the plug-in is loaded: EGL reads the variable once.
bool ChooseEglPlatform();

/// What a newcomer may do when EGL cannot be started, with the variables as they are.
std::string EglAdvice();

}  // namespace host

#endif  // HOST_ENVIRONMENT_H_
