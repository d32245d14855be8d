#include "renderer/egl_renderer.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <memory>

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GLES2/gl2.h>
#include <X11/Xlib.h>
#include <gbm.h>

#include "logging/log_line.h"

namespace {

template <typename... Parts>
void LogProgress(const Parts&... parts) {
  WriteLogLine(stdout, "[EGLRenderer] ", parts...);
}

template <typename... Parts>
void LogFailure(const Parts&... parts) {
  WriteLogLine(stderr, "[EGLRenderer] ", parts...);
}

const char* DriverString(GLenum name) { return reinterpret_cast<const char*>(glGetString(name)); }

using GetInfoLogLength = void (*)(GLuint object, GLenum name, GLint* value);
using GetInfoLog = void (*)(GLuint object, GLsizei size, GLsizei* length, GLchar* log);

// Reports why a shader or program failed, where the driver says so: a length below 2 is an empty text.
void LogInfoLog(const char* title, GLuint object, GetInfoLogLength get_length, GetInfoLog get_log) {
  GLint length = 0;
  get_length(object, GL_INFO_LOG_LENGTH, &length);
  if (length < 2) return;
  std::vector<GLchar> log(static_cast<size_t>(length));
  get_log(object, length, nullptr, log.data());
  log.back() = '\0';
  LogFailure(title, log.data());
}

}  // namespace

EGLRenderer::~EGLRenderer() { cleanup(); }

// ---- Display, surface, context -----------------------------------------------------------------------------

bool EGLRenderer::initialize(int width, int height, bool window_mode) {
  useWindow_ = window_mode;
  width_ = width;
  height_ = height;
  LogProgress("Initializing ", width_, "x", height_, useWindow_ ? " (window mode)" : " (offscreen mode)");

  if (!(useWindow_ ? openWindowDisplay() : openOffscreenDisplay())) return false;

  EGLint major = 0;
  EGLint minor = 0;
  if (!eglInitialize(display_, &major, &minor)) {
    LogFailure("Failed to initialize EGL");
    return false;
  }
  LogProgress("EGL version: ", major, ".", minor);

  // clang-format off
  const EGLint config_attributes[] = {
      EGL_SURFACE_TYPE, useWindow_ ? EGL_WINDOW_BIT : EGL_PBUFFER_BIT,
      EGL_RENDERABLE_TYPE, EGL_OPENGL_ES2_BIT,
      EGL_RED_SIZE, 8,
      EGL_GREEN_SIZE, 8,
      EGL_BLUE_SIZE, 8,
      EGL_ALPHA_SIZE, 8,
      EGL_DEPTH_SIZE, 24,
      EGL_NONE};
  // clang-format on
  EGLConfig config = nullptr;
  EGLint config_count = 0;
  if (!eglChooseConfig(display_, config_attributes, &config, 1, &config_count) || config_count == 0) {
    LogFailure("Failed to choose EGL config");
    return false;
  }
  LogProgress("EGL config chosen, numConfigs: ", config_count);

  if (!createSurface(config)) return false;

  const EGLint context_attributes[] = {EGL_CONTEXT_CLIENT_VERSION, 2, EGL_NONE};
  context_ = eglCreateContext(display_, config, EGL_NO_CONTEXT, context_attributes);
  if (context_ == EGL_NO_CONTEXT) {
    LogFailure("Failed to create EGL context");
    return false;
  }
  LogProgress("EGL context created");

  if (!makeContextCurrent()) return false;
  LogProgress("Context made current (temporarily for setup)");

  LogProgress("GL Vendor: ", DriverString(GL_VENDOR));
  LogProgress("GL Renderer: ", DriverString(GL_RENDERER));
  LogProgress("GL Version: ", DriverString(GL_VERSION));
  LogProgress("GLSL Version: ", DriverString(GL_SHADING_LANGUAGE_VERSION));

  return createFramebuffer();
}

bool EGLRenderer::openWindowDisplay() {
  xDisplay_ = XOpenDisplay(nullptr);
  if (xDisplay_ == nullptr) {
    LogFailure("Failed to open X11 display");
    return false;
  }
  XSetWindowAttributes attributes = {};
  attributes.event_mask = ExposureMask | KeyPressMask;
  xWindow_ = XCreateWindow(xDisplay_, DefaultRootWindow(xDisplay_), 0, 0, static_cast<unsigned int>(width_),
                           static_cast<unsigned int>(height_), 0, CopyFromParent, InputOutput,
                           static_cast<Visual*>(nullptr), CWEventMask, &attributes);
  XMapWindow(xDisplay_, xWindow_);
  XStoreName(xDisplay_, xWindow_, "3D Model Viewer - EGL");
  XFlush(xDisplay_);
  LogProgress("X11 window created");
  display_ = eglGetDisplay(reinterpret_cast<EGLNativeDisplayType>(xDisplay_));
  return checkDisplay();
}

bool EGLRenderer::openOffscreenDisplay() {
  LogProgress("Trying EGL_DEFAULT_DISPLAY for offscreen rendering (X11 system)...");
  display_ = eglGetDisplay(EGL_DEFAULT_DISPLAY);
  if (display_ != EGL_NO_DISPLAY) return true;
  LogProgress("EGL_DEFAULT_DISPLAY failed, falling back to GBM...");
  return openGbmDisplay();
}

bool EGLRenderer::openGbmDisplay() {
  LogProgress("Setting up GBM device for offscreen rendering...");
  const char* opened_path = nullptr;
  for (const char* path : {"/dev/dri/renderD128", "/dev/dri/card0", "/dev/dri/card1"}) {
    LogProgress("Trying DRM device: ", path);
    drmFd_ = open(path, O_RDWR);
    if (drmFd_ >= 0) {
      opened_path = path;
      break;
    }
  }
  if (opened_path == nullptr) {
    LogFailure("Failed to open any DRM device");
    return false;
  }
  LogProgress("Successfully opened DRM device: ", opened_path);

  gbmDevice_ = gbm_create_device(drmFd_);
  if (gbmDevice_ == nullptr) {
    LogFailure("Failed to create GBM device");
    close(drmFd_);
    drmFd_ = -1;
    return false;
  }
  LogProgress("GBM device created successfully");

  const auto get_platform_display =
      reinterpret_cast<PFNEGLGETPLATFORMDISPLAYEXTPROC>(eglGetProcAddress("eglGetPlatformDisplayEXT"));
  if (get_platform_display != nullptr) {
    LogProgress("Using eglGetPlatformDisplayEXT for GBM");
    display_ = get_platform_display(EGL_PLATFORM_GBM_KHR, gbmDevice_, nullptr);
  } else {
    LogProgress("Falling back to eglGetDisplay for GBM");
    display_ = eglGetDisplay(reinterpret_cast<EGLNativeDisplayType>(gbmDevice_));
  }
  return checkDisplay();
}

bool EGLRenderer::checkDisplay() {
  if (display_ != EGL_NO_DISPLAY) return true;
  LogFailure("Failed to get EGL display");
  LogFailure("EGL error code: ", Hex{static_cast<unsigned int>(eglGetError())});
  return false;
}

bool EGLRenderer::createSurface(EGLConfig config) {
  if (useWindow_) {
    // Not every vendor's headers have an integer here; some have a pointer, which this converts to as well.
    const auto window = EGLNativeWindowType(xWindow_);
    surface_ = eglCreateWindowSurface(display_, config, window, nullptr);
  } else {
    const EGLint attributes[] = {EGL_WIDTH, width_, EGL_HEIGHT, height_, EGL_NONE};
    surface_ = eglCreatePbufferSurface(display_, config, attributes);
  }
  if (surface_ == EGL_NO_SURFACE) {
    LogFailure(useWindow_ ? "Failed to create window surface" : "Failed to create pbuffer surface");
    return false;
  }
  LogProgress(useWindow_ ? "Window surface created" : "Pbuffer surface created");
  return true;
}

bool EGLRenderer::makeContextCurrent() {
  if (!eglMakeCurrent(display_, surface_, surface_, context_)) {
    LogFailure("Failed to make context current");
    return false;
  }
  return true;
}

void EGLRenderer::releaseContext() { eglMakeCurrent(display_, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT); }

void EGLRenderer::cleanup() {
  // clang-format off
  if (program_ != 0)           { glDeleteProgram(program_);                         program_ = 0; }
  if (vertexShader_ != 0)      { glDeleteShader(vertexShader_);                     vertexShader_ = 0; }
  if (fragmentShader_ != 0)    { glDeleteShader(fragmentShader_);                   fragmentShader_ = 0; }
  if (fbo_ != 0)               { glDeleteFramebuffers(1, &fbo_);                    fbo_ = 0; }
  if (colorTexture_ != 0)      { glDeleteTextures(1, &colorTexture_);               colorTexture_ = 0; }
  if (depthRenderbuffer_ != 0) { glDeleteRenderbuffers(1, &depthRenderbuffer_);     depthRenderbuffer_ = 0; }
  if (context_ != nullptr)     { eglDestroyContext(display_, context_);             context_ = nullptr; }
  if (surface_ != nullptr)     { eglDestroySurface(display_, surface_);             surface_ = nullptr; }
  if (display_ != nullptr)     { eglTerminate(display_);                            display_ = nullptr; }
  if (xWindow_ != 0)           { XDestroyWindow(xDisplay_, xWindow_);               xWindow_ = 0; }
  if (xDisplay_ != nullptr)    { XCloseDisplay(xDisplay_);                          xDisplay_ = nullptr; }
  if (gbmDevice_ != nullptr)   { gbm_device_destroy(gbmDevice_);                    gbmDevice_ = nullptr; }
  if (drmFd_ >= 0)             { close(drmFd_);                                     drmFd_ = -1; }
  // clang-format on
}

// ---- Framebuffer and shaders -------------------------------------------------------------------------------

bool EGLRenderer::createFramebuffer() {
  glGenFramebuffers(1, &fbo_);
  glGenTextures(1, &colorTexture_);
  glGenRenderbuffers(1, &depthRenderbuffer_);
  LogProgress("Created FBO: ", fbo_, ", Texture: ", colorTexture_, ", Depth: ", depthRenderbuffer_);

  glBindTexture(GL_TEXTURE_2D, colorTexture_);
  glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, width_, height_, 0, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
  glBindTexture(GL_TEXTURE_2D, 0);

  glBindRenderbuffer(GL_RENDERBUFFER, depthRenderbuffer_);
  glRenderbufferStorage(GL_RENDERBUFFER, GL_DEPTH_COMPONENT16, width_, height_);
  glBindRenderbuffer(GL_RENDERBUFFER, 0);

  glBindFramebuffer(GL_FRAMEBUFFER, fbo_);
  glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, colorTexture_, 0);
  glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_DEPTH_ATTACHMENT, GL_RENDERBUFFER, depthRenderbuffer_);

  const GLenum status = glCheckFramebufferStatus(GL_FRAMEBUFFER);
  if (status != GL_FRAMEBUFFER_COMPLETE) {
    LogFailure("Framebuffer incomplete: ", Hex{status});
    return false;
  }
  LogProgress("Framebuffer complete");
  glBindFramebuffer(GL_FRAMEBUFFER, 0);
  return true;
}

bool EGLRenderer::compileShader(GLuint shader, const char* source) {
  glShaderSource(shader, 1, &source, nullptr);
  glCompileShader(shader);
  GLint compiled = 0;
  glGetShaderiv(shader, GL_COMPILE_STATUS, &compiled);
  if (compiled != 0) return true;
  LogInfoLog("Shader compile error:\n", shader, glGetShaderiv, glGetShaderInfoLog);
  return false;
}

bool EGLRenderer::linkProgram() {
  glLinkProgram(program_);
  GLint linked = 0;
  glGetProgramiv(program_, GL_LINK_STATUS, &linked);
  if (linked != 0) return true;
  LogInfoLog("Program link error:\n", program_, glGetProgramiv, glGetProgramInfoLog);
  return false;
}

bool EGLRenderer::loadShaders(const char* vertex_source, const char* fragment_source) {
  LogProgress("Loading shaders...");
  vertexShader_ = glCreateShader(GL_VERTEX_SHADER);
  fragmentShader_ = glCreateShader(GL_FRAGMENT_SHADER);
  if (!compileShader(vertexShader_, vertex_source)) {
    LogFailure("Failed to compile vertex shader");
    return false;
  }
  LogProgress("Vertex shader compiled");
  if (!compileShader(fragmentShader_, fragment_source)) {
    LogFailure("Failed to compile fragment shader");
    return false;
  }
  LogProgress("Fragment shader compiled");

  program_ = glCreateProgram();
  glAttachShader(program_, vertexShader_);
  glAttachShader(program_, fragmentShader_);
  if (!linkProgram()) {
    LogFailure("Failed to link program");
    return false;
  }
  LogProgress("Shader program linked");

  positionLoc_ = glGetAttribLocation(program_, "a_position");
  normalLoc_ = glGetAttribLocation(program_, "a_normal");
  mvpLoc_ = glGetUniformLocation(program_, "u_mvp");
  lightDirLoc_ = glGetUniformLocation(program_, "u_lightDir");
  objectColorLoc_ = glGetUniformLocation(program_, "u_objectColor");
  LogProgress("Attribute locations - position: ", positionLoc_, ", normal: ", normalLoc_);
  LogProgress("Uniform locations - mvp: ", mvpLoc_, ", lightDir: ", lightDirLoc_, ", objectColor: ", objectColorLoc_);
  return true;
}

// ---- Drawing -----------------------------------------------------------------------------------------------

void EGLRenderer::beginFrame() {
  glBindFramebuffer(GL_FRAMEBUFFER, useWindow_ ? 0 : fbo_);
  glViewport(0, 0, width_, height_);
  glClearColor(0.0f, 0.0f, 0.0f, 0.0f);
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  glEnable(GL_DEPTH_TEST);
  glDisable(GL_CULL_FACE);
  glEnable(GL_BLEND);
  glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
  glUseProgram(program_);
}

void EGLRenderer::setMVP(const Matrix4& m) { glUniformMatrix4fv(mvpLoc_, 1, GL_FALSE, m.m.data()); }

void EGLRenderer::setModel(const Matrix4&) {}

void EGLRenderer::setLighting(float x, float y, float z, float, float, float) { glUniform3f(lightDirLoc_, x, y, z); }

void EGLRenderer::setObjectColor(float r, float g, float b) { glUniform3f(objectColorLoc_, r, g, b); }

void EGLRenderer::renderMesh(const std::vector<float>& positions, const std::vector<float>& normals,
                             const std::vector<uint32_t>& indices) {
  if (positions.empty() || indices.empty()) {
    LogFailure("Empty mesh data");
    return;
  }
  const auto position = static_cast<GLuint>(positionLoc_);
  const auto normal = static_cast<GLuint>(normalLoc_);

  glEnableVertexAttribArray(position);
  glVertexAttribPointer(position, 3, GL_FLOAT, GL_FALSE, 0, positions.data());
  if (!normals.empty() && normalLoc_ >= 0) {
    glEnableVertexAttribArray(normal);
    glVertexAttribPointer(normal, 3, GL_FLOAT, GL_FALSE, 0, normals.data());
  }

  glDrawElements(GL_TRIANGLES, static_cast<GLsizei>(indices.size()), GL_UNSIGNED_INT, indices.data());
  const GLenum error = glGetError();
  if (error != GL_NO_ERROR) LogFailure("GL error: ", Hex{error});

  glDisableVertexAttribArray(position);
  if (normalLoc_ >= 0) glDisableVertexAttribArray(normal);
}

void EGLRenderer::endFrame() {
  glFlush();
  glFinish();
}

bool EGLRenderer::swapBuffers() { return useWindow_ && eglSwapBuffers(display_, surface_); }

// ---- Reading frames back -----------------------------------------------------------------------------------

void EGLRenderer::readPixels(unsigned char* buffer, int width, int height) {
  if (buffer == nullptr) {
    LogFailure("readPixels: buffer is null");
    return;
  }
  // NOTE: the framebuffer object also in window mode, where frames are not drawn into it: readback is for offscreen
  // use.
  glBindFramebuffer(GL_FRAMEBUFFER, fbo_);
  std::vector<unsigned char> bottom_up(FrameByteCount(width, height, 4));
  glReadPixels(0, 0, width, height, GL_RGBA, GL_UNSIGNED_BYTE, bottom_up.data());
  const GLenum error = glGetError();
  if (error != GL_NO_ERROR) LogFailure("readPixels: glReadPixels error: ", Hex{error});

  if (bottom_up.empty()) return;
  const size_t row_bytes = static_cast<size_t>(width) * 4;
  for (int row = 0; row < height; ++row) {
    std::memcpy(buffer + static_cast<size_t>(row) * row_bytes,
                bottom_up.data() + static_cast<size_t>(height - 1 - row) * row_bytes, row_bytes);
  }
}

bool EGLRenderer::saveFrameToPPM(const char* path) {
  std::vector<unsigned char> rgba(FrameByteCount(width_, height_, 4));
  std::vector<unsigned char> rgb(FrameByteCount(width_, height_, 3));
  glBindFramebuffer(GL_FRAMEBUFFER, fbo_);
  glReadPixels(0, 0, width_, height_, GL_RGBA, GL_UNSIGNED_BYTE, rgba.data());
  const GLenum error = glGetError();
  if (error != GL_NO_ERROR) {
    LogFailure("GL error reading pixels: ", Hex{error});
    return false;
  }
  for (size_t pixel = 0; pixel < rgb.size() / 3; ++pixel) std::memcpy(&rgb[3 * pixel], &rgba[4 * pixel], 3);

  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path, "wb"), std::fclose);
  if (!file) {
    LogFailure("Failed to open file: ", path);
    return false;
  }
  std::fprintf(file.get(), "P6\n%d %d\n255\n", width_, height_);
  const size_t row_bytes = static_cast<size_t>(width_) * 3;
  for (int row = height_ - 1; row >= 0; --row) {
    std::fwrite(rgb.data() + static_cast<size_t>(row) * row_bytes, 1, row_bytes, file.get());
  }
  return true;
}
