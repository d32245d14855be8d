#ifndef FUZZ_GRAPHICS_STAND_IN_H_
#define FUZZ_GRAPHICS_STAND_IN_H_

/// The functions of EGL, OpenGL ES, GBM and Xlib that the renderer calls, linked in place of the libraries: a machine
/// with a default display that draws nothing, records nothing and costs next to nothing. What memory a call hands over
/// is read or written as the real libraries would, to its last byte: vertices by the indices drawn, pixels read back.
namespace graphics_stand_in {

/// A machine on which nothing fails.
void Reset();

/// The `nth` call from now, 1 being the next, that can fail in the real libraries fails.
void FailCall(int nth);

/// Whether eglMakeCurrent has failed for a context on another thread than the program's first one, since the last time
/// this was asked.
bool TakeRenderThreadFailure();

}  // namespace graphics_stand_in

#endif  // FUZZ_GRAPHICS_STAND_IN_H_
