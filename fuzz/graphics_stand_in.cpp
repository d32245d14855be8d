#include "fuzz/graphics_stand_in.h"

#include <pthread.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include <EGL/egl.h>
#include <GLES2/gl2.h>
#include <X11/Xlib.h>
#include <gbm.h>

#include "fuzz/fuzz_target.h"

namespace {

std::atomic<int> g_calls_to_failure{0};  // 0: none is to fail

const pthread_t g_first_thread = pthread_self();
std::atomic<bool> g_render_thread_failed{false};

bool Fails() { return g_calls_to_failure > 0 && --g_calls_to_failure == 0; }

// Something to point to.
int g_object = 0;
void* NewObject() { return Fails() ? nullptr : &g_object; }

void NewNames(GLsizei count, GLuint* names) { std::fill_n(names, count, 1u); }

struct VertexArray {
  const unsigned char* data = nullptr;
  size_t vertex_size = 0;
};
// As the plug-in holds its lock for a whole frame, one thread at a time.
std::array<VertexArray, 2> g_arrays;
std::atomic<unsigned> g_read{0};  // so that no read is left out

constexpr GLint kPositionLocation = 0;
constexpr GLint kNormalLocation = 1;

}  // namespace

namespace graphics_stand_in {

void Reset() {
  g_calls_to_failure = 0;
  g_render_thread_failed = false;
  g_arrays = {};
}

void FailCall(int nth) { g_calls_to_failure = nth; }

bool TakeRenderThreadFailure() { return g_render_thread_failed.exchange(false); }

}  // namespace graphics_stand_in

extern "C" {

// ---- EGL ---------------------------------------------------------------------------------------------------

EGLDisplay eglGetDisplay(EGLNativeDisplayType) { return &g_object; }
EGLBoolean eglInitialize(EGLDisplay, EGLint* major, EGLint* minor) {
  *major = 1;
  *minor = 4;
  return !Fails();
}
EGLBoolean eglChooseConfig(EGLDisplay, const EGLint*, EGLConfig* configs, EGLint, EGLint* config_count) {
  configs[0] = &g_object;
  *config_count = 1;
  return !Fails();
}
EGLSurface eglCreatePbufferSurface(EGLDisplay, EGLConfig, const EGLint* attributes) {
  for (const EGLint* attribute = attributes; attribute[0] != EGL_NONE; attribute += 2) {
    if (attribute[1] < 0) return EGL_NO_SURFACE;  // EGL_BAD_PARAMETER
  }
  return NewObject();
}
EGLSurface eglCreateWindowSurface(EGLDisplay, EGLConfig, EGLNativeWindowType, const EGLint*) { return NewObject(); }
EGLContext eglCreateContext(EGLDisplay, EGLConfig, EGLContext, const EGLint*) { return NewObject(); }
EGLBoolean eglMakeCurrent(EGLDisplay, EGLSurface, EGLSurface, EGLContext context) {
  if (context == EGL_NO_CONTEXT) return EGL_TRUE;
  const bool fails = Fails();
  if (fails && !pthread_equal(pthread_self(), g_first_thread)) g_render_thread_failed = true;
  return !fails;
}
EGLBoolean eglDestroyContext(EGLDisplay, EGLContext) { return EGL_TRUE; }
EGLBoolean eglDestroySurface(EGLDisplay, EGLSurface) { return EGL_TRUE; }
EGLBoolean eglTerminate(EGLDisplay) { return EGL_TRUE; }
EGLBoolean eglSwapBuffers(EGLDisplay, EGLSurface) { return !Fails(); }
EGLint eglGetError() { return EGL_SUCCESS; }
__eglMustCastToProperFunctionPointerType eglGetProcAddress(const char*) { return nullptr; }

// ---- GBM and Xlib: never reached, the default display is always there -----------------------------------------

gbm_device* gbm_create_device(int) { return nullptr; }
void gbm_device_destroy(gbm_device*) {}
Display* XOpenDisplay(const char*) { return nullptr; }
Window XCreateWindow(Display*, Window, int, int, unsigned, unsigned, unsigned, int, unsigned, Visual*, unsigned long,
                     XSetWindowAttributes*) {
  return 0;
}
int XMapWindow(Display*, Window) { return 0; }
int XStoreName(Display*, Window, const char*) { return 0; }
int XFlush(Display*) { return 0; }
int XDestroyWindow(Display*, Window) { return 0; }
int XCloseDisplay(Display*) { return 0; }

// ---- OpenGL ES: objects ------------------------------------------------------------------------------------

const GLubyte* glGetString(GLenum) { return Fails() ? nullptr : reinterpret_cast<const GLubyte*>("stand-in"); }
GLenum glGetError() { return Fails() ? GL_OUT_OF_MEMORY : GL_NO_ERROR; }

void glGenFramebuffers(GLsizei count, GLuint* names) { NewNames(count, names); }
void glGenTextures(GLsizei count, GLuint* names) { NewNames(count, names); }
void glGenRenderbuffers(GLsizei count, GLuint* names) { NewNames(count, names); }
void glDeleteFramebuffers(GLsizei, const GLuint*) {}
void glDeleteTextures(GLsizei, const GLuint*) {}
void glDeleteRenderbuffers(GLsizei, const GLuint*) {}
void glBindFramebuffer(GLenum, GLuint) {}
void glBindTexture(GLenum, GLuint) {}
void glBindRenderbuffer(GLenum, GLuint) {}
void glTexImage2D(GLenum, GLint, GLint, GLsizei, GLsizei, GLint, GLenum, GLenum, const void*) {}
void glTexParameteri(GLenum, GLenum, GLint) {}
void glRenderbufferStorage(GLenum, GLenum, GLsizei, GLsizei) {}
void glFramebufferTexture2D(GLenum, GLenum, GLenum, GLuint, GLint) {}
void glFramebufferRenderbuffer(GLenum, GLenum, GLenum, GLuint) {}
GLenum glCheckFramebufferStatus(GLenum) {
  return Fails() ? GL_FRAMEBUFFER_INCOMPLETE_ATTACHMENT : GL_FRAMEBUFFER_COMPLETE;
}

GLuint glCreateShader(GLenum) { return 1; }
GLuint glCreateProgram() { return 1; }
void glDeleteShader(GLuint) {}
void glDeleteProgram(GLuint) {}
void glShaderSource(GLuint, GLsizei, const GLchar* const*, const GLint*) {}
void glCompileShader(GLuint) {}
void glAttachShader(GLuint, GLuint) {}
void glLinkProgram(GLuint) {}
void glGetShaderiv(GLuint, GLenum name, GLint* value) { *value = name == GL_COMPILE_STATUS ? !Fails() : 3; }
void glGetProgramiv(GLuint, GLenum name, GLint* value) { *value = name == GL_LINK_STATUS ? !Fails() : 3; }
void glGetShaderInfoLog(GLuint, GLsizei size, GLsizei*, GLchar* log) {
  std::fill_n(log, size, 'e');  // not terminated: the caller must not rely on it
}
void glGetProgramInfoLog(GLuint, GLsizei size, GLsizei*, GLchar* log) { std::fill_n(log, size, 'e'); }
GLint glGetAttribLocation(GLuint, const GLchar* name) {
  return std::strcmp(name, "a_position") == 0 ? kPositionLocation : kNormalLocation;
}
GLint glGetUniformLocation(GLuint, const GLchar*) { return 0; }

// ---- OpenGL ES: drawing ------------------------------------------------------------------------------------

void glViewport(GLint, GLint, GLsizei, GLsizei) {}
void glClearColor(GLfloat, GLfloat, GLfloat, GLfloat) {}
void glClear(GLbitfield) {}
void glEnable(GLenum) {}
void glDisable(GLenum) {}
void glBlendFunc(GLenum, GLenum) {}
void glUseProgram(GLuint) {}
void glUniform3f(GLint, GLfloat, GLfloat, GLfloat) {}
void glUniformMatrix4fv(GLint, GLsizei, GLboolean, const GLfloat* values) {
  for (int i = 0; i < 16; ++i) g_read += values[i] > 0 ? 1 : 0;
}
void glEnableVertexAttribArray(GLuint) {}
void glDisableVertexAttribArray(GLuint index) {
  if (index < g_arrays.size()) g_arrays[index] = {};
}
void glVertexAttribPointer(GLuint index, GLint size, GLenum, GLboolean, GLsizei, const void* data) {
  if (index >= g_arrays.size()) return;  // of a renderer whose set-up failed
  g_arrays[index] = {static_cast<const unsigned char*>(data), static_cast<size_t>(size) * sizeof(GLfloat)};
}
void glDrawElements(GLenum, GLsizei count, GLenum, const void* indices) {
  for (GLsizei i = 0; i < count; ++i) {
    GLuint index;
    std::memcpy(&index, static_cast<const unsigned char*>(indices) + sizeof index * static_cast<size_t>(i),
                sizeof index);
    for (const VertexArray& array : g_arrays) {
      if (array.data == nullptr) continue;
      const unsigned char* const vertex = array.data + array.vertex_size * index;
      g_read += vertex[0] + vertex[array.vertex_size - 1];
    }
  }
}
void glReadPixels(GLint, GLint, GLsizei width, GLsizei height, GLenum, GLenum, void* pixels) {
  FUZZ_REQUIRE(width >= 0 && height >= 0);
  const size_t byte_count = static_cast<size_t>(width) * static_cast<size_t>(height) * 4;
  if (byte_count > 0) std::memset(pixels, 0x55, byte_count);  // no pixels may be nowhere
}
void glFlush() {}
void glFinish() {}

}  // extern "C"
