#include "test/faults/graphics.h"

#include <dlfcn.h>

// Without Xlib, whose macros (None, Success, ...) would eat other names.
#ifndef EGL_NO_X11
#define EGL_NO_X11
#endif
#include <EGL/egl.h>

// The render thread ends with its context current, and Mesa keeps such a context, megabytes of it, to the end of the
// process: a user does not notice one, a test that plays thousands of sequences runs the machine out of memory. So the
// program's own eglMakeCurrent stands in front of the library's and has each thread that uses it let go at its end.
extern "C" __attribute__((visibility("default"))) EGLBoolean EGLAPIENTRY eglMakeCurrent(EGLDisplay display,
                                                                                        EGLSurface draw,
                                                                                        EGLSurface read,
                                                                                        EGLContext context) {
  struct ThreadEnd {
    ~ThreadEnd() { eglReleaseThread(); }
  };
  static thread_local ThreadEnd end;
  static const auto next = reinterpret_cast<decltype(&eglMakeCurrent)>(dlsym(RTLD_NEXT, "eglMakeCurrent"));
  return next(display, draw, read, context);
}

namespace graphics {

// Fewer than on the fakes: a renderer takes a driver milliseconds to make.
int DefaultSequenceCount() { return 200; }
int SequencesPerPlainRun() { return 10; }

// HACK: glTexImage2D of Mesa 22.3 writes past an array on its own stack from some side between 2^24 and 2^26 on, and
// glibc ends the process: "stack smashing detected".
int32_t LargestSide() { return 1 << 24; }

void Reset() {}
void FillFrames(int, int) {}  // the driver draws

}  // namespace graphics
