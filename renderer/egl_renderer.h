#ifndef RENDERER_EGL_RENDERER_H_
#define RENDERER_EGL_RENDERER_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "renderer/matrix4.h"

// The libraries' handle types, written out so that neither their headers nor Xlib's macros (Success, None, ...)
// reach whoever includes this one: no macro keeps Xlib out of every vendor's EGL headers (EGL_NO_X11 is Mesa's alone).
// Where they have other types, egl_renderer.cpp does not compile.
typedef void* EGLDisplay;
typedef void* EGLContext;
typedef void* EGLSurface;
typedef void* EGLConfig;
typedef unsigned int GLuint;
typedef int GLint;
struct gbm_device;
struct _XDisplay;

/// The bytes of a frame, counted in 32 bits with a sign: a product that wraps around to a negative number becomes, as a
/// size, one that no allocation grants.
constexpr size_t FrameByteCount(int width, int height, int bytes_per_pixel) {
  const uint32_t product =
      static_cast<uint32_t>(width) * static_cast<uint32_t>(height) * static_cast<uint32_t>(bytes_per_pixel);
  return static_cast<size_t>(static_cast<int32_t>(product));
}

/// Draws flat-coloured, lit triangle meshes with OpenGL ES 2 into an offscreen framebuffer or an X11 window, and
/// reads frames back. Surface and context are its own. The EGL display need not be: offscreen it is the default one
/// where there is one, which the whole process shares, and `cleanup` terminates it for all.
///
/// Use: `initialize` once, `loadShaders`, `releaseContext`; then `makeContextCurrent` on the thread that draws, and
/// for every frame `beginFrame`, `setMVP`, `setLighting`, per mesh `setObjectColor` and `renderMesh`, `endFrame`,
/// `readPixels`.
///
/// Thread   one at a time: that on which the context is current.
/// Failure  false, or nothing, and a line beginning "[EGLRenderer] " on standard error. Whatever a failed step had
///          acquired stays until `cleanup` or the destructor.
class EGLRenderer {
 public:
  EGLRenderer() = default;
  ~EGLRenderer();
  EGLRenderer(const EGLRenderer&) = delete;
  EGLRenderer& operator=(const EGLRenderer&) = delete;

  /// Builds display, surface, context and framebuffer, and leaves the context current on the calling thread.
  /// Offscreen it takes the default display, or a GBM device on the first DRM node that opens.
  ///
  /// Units    pixels.
  [[nodiscard]] bool initialize(int width, int height, bool window_mode);

  [[nodiscard]] bool makeContextCurrent();
  /// Leaves the calling thread without a current context.
  void releaseContext();

  /// Releases everything; a second call finds nothing. GL objects are deleted in whatever context is current on the
  /// calling thread; without one they go with the renderer's own context. In window mode call `releaseContext` first: a
  /// surface that is current outlives its X connection.
  void cleanup();

  /// Compiles and links the two GLSL ES sources. They meet the renderer in the attributes `a_position` and
  /// `a_normal` and the uniforms `u_mvp`, `u_lightDir` and `u_objectColor`; one that is missing is left unset.
  [[nodiscard]] bool loadShaders(const char* vertex_source, const char* fragment_source);

  /// Clears to transparent black and sets all state that drawing needs.
  void beginFrame();

  // Uniforms of the frame; after beginFrame.
  void setMVP(const Matrix4& m);
  /// Does nothing: lighting happens in the model's own frame, so the shaders need no model matrix.
  void setModel(const Matrix4& m);
  /// The direction towards the light, in the model's frame, of any length. The light's colour (a, b, c) is ignored:
  /// it is white.
  void setLighting(float x, float y, float z, float a, float b, float c);
  void setObjectColor(float r, float g, float b);

  /// Draws one mesh from client memory.
  ///
  /// Shape    positions and normals: x, y, z per vertex; normals may be empty; indices: three per triangle, each
  ///          below the number of vertices.
  void renderMesh(const std::vector<float>& positions, const std::vector<float>& normals,
                  const std::vector<uint32_t>& indices);

  /// Waits until the frame is drawn.
  void endFrame();

  /// Window mode: shows the frame. Offscreen: false.
  bool swapBuffers();

  /// Copies the offscreen framebuffer into `buffer`, turned so that the image's top row comes first.
  ///
  /// Shape    `width * height * 4` bytes: R, G, B, A, 8 bits each, rows packed.
  /// Failure  null `buffer`: one error line, nothing written. GL error: one error line, and zeros for what was not
  ///          read. A size whose bytes no vector holds: std::length_error.
  void readPixels(unsigned char* buffer, int width, int height);

  /// Writes the offscreen framebuffer to `path` as a binary PPM image.
  [[nodiscard]] bool saveFrameToPPM(const char* path);

  /// As given to `initialize`, in pixels.
  int width() const { return width_; }
  int height() const { return height_; }

 private:
  bool openWindowDisplay();
  bool openOffscreenDisplay();
  bool openGbmDisplay();
  bool checkDisplay();
  bool createSurface(EGLConfig config);
  bool createFramebuffer();

  bool compileShader(GLuint shader, const char* source);
  bool linkProgram();

  EGLDisplay display_ = nullptr;
  EGLContext context_ = nullptr;
  EGLSurface surface_ = nullptr;
  int drmFd_ = -1;
  gbm_device* gbmDevice_ = nullptr;
  _XDisplay* xDisplay_ = nullptr;
  unsigned long xWindow_ = 0;
  bool useWindow_ = false;
  GLuint fbo_ = 0;
  GLuint colorTexture_ = 0;
  GLuint depthRenderbuffer_ = 0;
  GLuint program_ = 0;
  GLuint vertexShader_ = 0;
  GLuint fragmentShader_ = 0;
  // -1 until loadShaders: a renderer whose set-up failed may still be drawn with, and GL ignores location -1.
  GLint positionLoc_ = -1;
  GLint normalLoc_ = -1;
  GLint mvpLoc_ = -1;
  GLint lightDirLoc_ = -1;
  GLint objectColorLoc_ = -1;
  int width_ = 0;
  int height_ = 0;
};

#endif  // RENDERER_EGL_RENDERER_H_
