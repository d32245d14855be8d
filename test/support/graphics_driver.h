#ifndef TEST_SUPPORT_GRAPHICS_DRIVER_H_
#define TEST_SUPPORT_GRAPHICS_DRIVER_H_

#include <dlfcn.h>
#include <link.h>

#include <cstdlib>
#include <string>
#include <vector>

// Without Xlib, whose macros (None, Success, ...) would eat other names.
#ifndef EGL_NO_X11
#define EGL_NO_X11
#endif
#include <EGL/egl.h>

/// Loads the machine's graphics driver and keeps it in memory to the end of the process; false where there is
/// none.
///
/// HACK: Mesa unloads its driver when the last display is terminated, and what the module's globals pointed
/// to then counts as lost. The leak sanitizer reports it in an unknown module, so that no suppression can
/// name it.
inline bool LoadGraphicsDriver() {
  setenv("EGL_LOG_LEVEL", "fatal", 0);  // Mesa adds warnings of its own to standard error
  const EGLDisplay display = eglGetDisplay(EGL_DEFAULT_DISPLAY);
  if (display == EGL_NO_DISPLAY || !eglInitialize(display, nullptr, nullptr)) return false;

  std::vector<std::string> modules;
  dl_iterate_phdr(
      [](dl_phdr_info* module, size_t, void* found) {
        const std::string name = module->dlpi_name;
        if (name.find("_dri.so") != std::string::npos) {
          static_cast<std::vector<std::string>*>(found)->push_back(name);
        }
        return 0;
      },
      &modules);
  for (const std::string& name : modules) dlopen(name.c_str(), RTLD_NOW | RTLD_NOLOAD | RTLD_NODELETE);

  eglTerminate(display);
  return true;
}

#endif  // TEST_SUPPORT_GRAPHICS_DRIVER_H_
