#ifndef TEST_FAKES_GRAPHICS_FAKE_LIBRARIES_FIXTURE_H_
#define TEST_FAKES_GRAPHICS_FAKE_LIBRARIES_FIXTURE_H_

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "test/fakes/graphics/fake_graphics.h"

// Last, and to be included last: the macros of Xlib, which comes along, eat names.
#include <EGL/egl.h>
#include <GLES2/gl2.h>

namespace fake_graphics {

/// The fake libraries, as new for each test.
class FakeLibrariesTest : public ::testing::Test {
 protected:
  FakeLibrariesTest() { Reset(); }
  ~FakeLibrariesTest() override { Reset(); }

  /// A pbuffer and context on the default display, current here.
  void MakeContext() {
    display_ = eglGetDisplay(EGL_DEFAULT_DISPLAY);
    eglInitialize(display_, nullptr, nullptr);
    const EGLint attributes[] = {EGL_SURFACE_TYPE, EGL_PBUFFER_BIT, EGL_NONE};
    EGLint count = 0;
    eglChooseConfig(display_, attributes, &config_, 1, &count);
    surface_ = NewPbuffer(4, 3);
    context_ = eglCreateContext(display_, config_, EGL_NO_CONTEXT, nullptr);
    eglMakeCurrent(display_, surface_, surface_, context_);
    ASSERT_THAT(Complaints(), ::testing::IsEmpty());
    ClearCalls();
  }

  EGLBoolean Unbind() { return eglMakeCurrent(display_, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT); }

  EGLSurface NewPbuffer(EGLint width, EGLint height) const {
    const EGLint size[] = {EGL_WIDTH, width, EGL_HEIGHT, height, EGL_NONE};
    return eglCreatePbufferSurface(display_, config_, size);
  }

  static GLuint NewTexture() {
    GLuint name = 0;
    glGenTextures(1, &name);
    return name;
  }

  /// A linked program, in use.
  static GLuint UseProgram() {
    const GLuint program = glCreateProgram();
    for (const GLenum type : {GLenum{GL_VERTEX_SHADER}, GLenum{GL_FRAGMENT_SHADER}}) {
      const GLuint shader = glCreateShader(type);
      const char* source =
          type == GL_VERTEX_SHADER ? "attribute vec2 corner; uniform mat4 turn;" : "uniform vec3 tint;";
      glShaderSource(shader, 1, &source, nullptr);
      glCompileShader(shader);
      glAttachShader(program, shader);
    }
    glLinkProgram(program);
    glUseProgram(program);
    return program;
  }

  EGLDisplay display_ = EGL_NO_DISPLAY;
  EGLConfig config_ = nullptr;
  EGLSurface surface_ = EGL_NO_SURFACE;
  EGLContext context_ = EGL_NO_CONTEXT;
};

}  // namespace fake_graphics

#endif  // TEST_FAKES_GRAPHICS_FAKE_LIBRARIES_FIXTURE_H_
