// The least that a process needs on this machine to have a picture from OpenGL ES: EGL started, a context, a triangle
// with the viewer's shaders, the pixels read back. No model, no host, no file. start_bench.py runs it.

#include <EGL/egl.h>
#include <GLES2/gl2.h>

#include <cstdint>
#include <cstdlib>
#include <vector>

#include "bench/raw_program.h"

namespace {

constexpr int kWidth = 640;
constexpr int kHeight = 480;

bool MakeContext() {
  const EGLDisplay display = eglGetDisplay(EGL_DEFAULT_DISPLAY);
  if (!eglInitialize(display, nullptr, nullptr) || !eglBindAPI(EGL_OPENGL_ES_API)) return false;
  // clang-format off
  const EGLint config_attributes[] = {
      EGL_SURFACE_TYPE, EGL_PBUFFER_BIT,
      EGL_RENDERABLE_TYPE, EGL_OPENGL_ES2_BIT,
      EGL_RED_SIZE, 8, EGL_GREEN_SIZE, 8, EGL_BLUE_SIZE, 8, EGL_ALPHA_SIZE, 8, EGL_DEPTH_SIZE, 24,
      EGL_NONE};
  // clang-format on
  EGLConfig config;
  EGLint config_count = 0;
  if (!eglChooseConfig(display, config_attributes, &config, 1, &config_count) || config_count == 0) return false;
  const EGLint surface_attributes[] = {EGL_WIDTH, kWidth, EGL_HEIGHT, kHeight, EGL_NONE};
  const EGLSurface surface = eglCreatePbufferSurface(display, config, surface_attributes);
  const EGLint context_attributes[] = {EGL_CONTEXT_CLIENT_VERSION, 2, EGL_NONE};
  const EGLContext context = eglCreateContext(display, config, EGL_NO_CONTEXT, context_attributes);
  return eglMakeCurrent(display, surface, surface, context);
}

void DrawTriangle() {
  const GLuint program = MakeRawProgram();
  glUseProgram(program);
  const float unit[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
  glUniformMatrix4fv(glGetUniformLocation(program, "u_mvp"), 1, GL_FALSE, unit);
  glUniform3f(glGetUniformLocation(program, "u_objectColor"), 1, 1, 1);
  const float corners[] = {-1, -1, 0, 1, -1, 0, 0, 1, 0};
  for (const char* attribute : {"a_position", "a_normal"}) {
    const auto location = static_cast<GLuint>(glGetAttribLocation(program, attribute));
    glEnableVertexAttribArray(location);
    glVertexAttribPointer(location, 3, GL_FLOAT, GL_FALSE, 0, corners);
  }
  glEnable(GL_DEPTH_TEST);
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  glDrawArrays(GL_TRIANGLES, 0, 3);
  glFinish();
}

}  // namespace

int main() {
  if (!MakeContext()) return EXIT_FAILURE;
  DrawTriangle();
  std::vector<uint8_t> pixels(size_t{4} * kWidth * kHeight);
  glReadPixels(0, 0, kWidth, kHeight, GL_RGBA, GL_UNSIGNED_BYTE, pixels.data());
  const size_t middle = size_t{4} * (kWidth * kHeight / 2 + kWidth / 2);
  return pixels[middle] != 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
