#ifndef TEST_RENDERER_GL_FIXTURE_H_
#define TEST_RENDERER_GL_FIXTURE_H_

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

#include <GLES2/gl2.h>

#include "model/glb_loader.h"
#include "plugin/shaders.h"
#include "renderer/egl_renderer.h"
#include "test/renderer/renderer_lines.h"
#include "test/support/graphics_driver.h"
#include "test/support/log_capture.h"

// ---- Pixels -----------------------------------------------------------------------------------------------

struct Pixel {
  int r, g, b, a;

  bool operator==(const Pixel& other) const { return r == other.r && g == other.g && b == other.b && a == other.a; }
  friend std::ostream& operator<<(std::ostream& stream, const Pixel& pixel) {
    return stream << "(" << pixel.r << ", " << pixel.g << ", " << pixel.b << ", " << pixel.a << ")";
  }
};

inline constexpr Pixel kUncovered = {0, 0, 0, 0};

/// Every channel within one step of 255: the fragment shader may compute in 10-bit mantissas (mediump), and
/// rounds to 8 bits in the end.
MATCHER_P(IsNear, expected, "is within one step of " + ::testing::PrintToString(expected)) {
  return std::abs(arg.r - expected.r) <= 1 && std::abs(arg.g - expected.g) <= 1 && std::abs(arg.b - expected.b) <= 1 &&
         std::abs(arg.a - expected.a) <= 1;
}

/// An opaque pixel of `color`, made lighter or darker by `factor`.
inline Pixel Opaque(const std::array<float, 4>& color, double factor) {
  const auto channel = [factor](float value) {
    const double scaled = static_cast<double>(value) * factor * 255.0;
    return static_cast<int>((scaled > 255.0 ? 255.0 : scaled) + 0.5);
  };
  return {channel(color[0]), channel(color[1]), channel(color[2]), 255};
}

/// The factor of a surface that faces the light.
inline constexpr double kFacingTheLight = 1.1;

/// A frame as readPixels hands it out: R, G, B, A, top row first.
struct Frame {
  Frame(int frame_width, int frame_height, unsigned char fill = 0)
      : width(frame_width),
        height(frame_height),
        bytes(static_cast<size_t>(frame_width) * static_cast<size_t>(frame_height) * 4, fill) {}

  /// The pixel `x` from the left, `y` from the top.
  Pixel At(int x, int y) const {
    const unsigned char* pixel =
        &bytes.at((static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)) * 4);
    return {pixel[0], pixel[1], pixel[2], pixel[3]};
  }

  int width, height;
  std::vector<unsigned char> bytes;
};

// ---- Things to draw ---------------------------------------------------------------------------------------

using Color = std::array<float, 4>;
using Vector = std::array<float, 3>;

// Three channels that differ from one another and, lit, from alpha. Lit to 1.1 none but the clamped ones
// reaches 1.
inline constexpr Color kOrange = {0.9f, 0.5f, 0.2f, 1.0f};
inline constexpr Color kTeal = {0.1f, 0.6f, 0.4f, 1.0f};
inline constexpr Color kViolet = {0.4f, 0.2f, 0.8f, 1.0f};

inline Matrix4 Identity() {
  Matrix4 matrix;
  for (size_t i = 0; i < 4; ++i) matrix.m[5 * i] = 1.0f;
  return matrix;
}

/// A part of a frame in pixels from the top left; `right` and `bottom` are the first column and row outside.
struct Area {
  int left, top, right, bottom;
};

/// What an action wrote to the standard streams.
struct Said {
  std::string out, err;
};

template <typename Action>
Said WhatIsSaid(const Action& action) {
  LogCapture out(stdout);
  LogCapture err(stderr);
  action();
  return {out.Take(), err.Take()};
}

/// A renderer on the machine's own driver, offscreen, at a size that the test chooses.
class GlTest : public ::testing::Test {
 protected:
  void SetUp() override {
    eglReleaseThread();  // a renderer leaves its context current, to die when it no longer is
    if (!LoadGraphicsDriver()) {
      GTEST_SKIP() << "no EGL driver: needs Mesa (libegl1, libgl1-mesa-dri) and EGL_PLATFORM=surfaceless";
    }
  }

  /// Gets the renderer ready to draw; ends the test if that fails.
  void Start(int width, int height, const char* vertex_shader = kVertexShader,
             const char* fragment_shader = kFragmentShader) {
    bool ready = false;
    const Said said = WhatIsSaid([&] {
      ready = renderer_.initialize(width, height, false) && renderer_.loadShaders(vertex_shader, fragment_shader);
    });
    if (!ready || !said.err.empty()) throw std::runtime_error("Start: " + said.out + said.err);
    if (glGetError() != GL_NO_ERROR) throw std::runtime_error("Start left a GL error");
  }

  /// Two triangles that cover `area`, with one normal all over. In clip coordinates: `depth` goes from -1,
  /// near, to 1, far, and mvp_ is best left as it is.
  MeshData Rectangle(const Area& area, const Color& color, float depth = 0.0f, const Vector& normal = {0, 0, 1}) const {
    const auto x = [this](int column) {
      return 2.0f * static_cast<float>(column) / static_cast<float>(renderer_.width()) - 1.0f;
    };
    const auto y = [this](int row) {
      return 1.0f - 2.0f * static_cast<float>(row) / static_cast<float>(renderer_.height());
    };
    MeshData mesh;
    mesh.positions = {x(area.left),  y(area.bottom), depth, x(area.right), y(area.bottom), depth,
                      x(area.right), y(area.top),    depth, x(area.left),  y(area.top),    depth};
    for (int corner = 0; corner < 4; ++corner) {
      mesh.normals.insert(mesh.normals.end(), normal.begin(), normal.end());
    }
    mesh.indices = {0, 1, 2, 0, 2, 3};
    mesh.color = color;
    return mesh;
  }

  MeshData WholeFrame(const Color& color, float depth = 0.0f, const Vector& normal = {0, 0, 1}) const {
    return Rectangle({0, 0, renderer_.width(), renderer_.height()}, color, depth, normal);
  }

  /// Draws a frame as the render thread does and reads it back into `frame`; `after_step` is called with the
  /// name of each call made. Returns what was logged.
  Said Draw(
      const std::vector<MeshData>& meshes, Frame& frame,
      const std::function<void(const std::string& step)>& after_step = [](const std::string&) {}) {
    return WhatIsSaid([&] {
      renderer_.beginFrame();
      after_step("beginFrame");
      renderer_.setMVP(mvp_);
      after_step("setMVP");
      renderer_.setModel(model_);
      after_step("setModel");
      renderer_.setLighting(light_[0], light_[1], light_[2], light_color_[0], light_color_[1], light_color_[2]);
      after_step("setLighting");
      for (const MeshData& mesh : meshes) {
        renderer_.setObjectColor(mesh.color[0], mesh.color[1], mesh.color[2]);
        after_step("setObjectColor");
        renderer_.renderMesh(mesh.positions, mesh.normals, mesh.indices);
        after_step("renderMesh");
      }
      renderer_.endFrame();
      after_step("endFrame");
      renderer_.readPixels(frame.bytes.data(), frame.width, frame.height);
      after_step("readPixels");
    });
  }

  /// Draws a frame of which no step leaves a GL error; the log is `expected_log` on standard error and
  /// nothing on standard output.
  Frame Render(const std::vector<MeshData>& meshes, const std::string& expected_log = "") {
    Frame frame(renderer_.width(), renderer_.height(), 0xAB);
    std::string gl_errors;
    const Said said = Draw(meshes, frame, [&gl_errors](const std::string& step) {
      if (glGetError() != GL_NO_ERROR) gl_errors += step + " ";
    });
    EXPECT_EQ(gl_errors, "");
    EXPECT_EQ(said.out, "");
    EXPECT_EQ(said.err, expected_log);
    return frame;
  }

  EGLRenderer renderer_;

  // What Render() sets for its frame.
  Matrix4 mvp_ = Identity();
  Matrix4 model_ = Identity();
  Vector light_ = {0, 0, 1};
  Vector light_color_ = {1, 1, 1};
};

/// The value of an integer state of GL.
inline GLint GlInteger(GLenum name) {
  GLint value = -1;
  glGetIntegerv(name, &value);
  return value;
}

inline GLuint GlName(GLenum name) { return static_cast<GLuint>(GlInteger(name)); }

#endif  // TEST_RENDERER_GL_FIXTURE_H_
