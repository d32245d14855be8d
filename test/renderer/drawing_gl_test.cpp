// What frames look like, pixel by pixel, on a real driver.

#include <algorithm>
#include <cmath>
#include <utility>

#include "test/renderer/gl_fixture.h"

namespace {

class DrawingTest : public GlTest {
 protected:
  // The pixel in the middle of a small frame that one rectangle covers.
  Pixel RenderOnePixel(const MeshData& mesh) { return Render({mesh}).At(2, 1); }

  // The location of an attribute of the program that the last frame was drawn with.
  static GLuint AttributeLocation(const char* name) {
    return static_cast<GLuint>(glGetAttribLocation(GlName(GL_CURRENT_PROGRAM), name));
  }

  static bool IsAttributeEnabled(const char* name) {
    GLint enabled = -1;
    glGetVertexAttribiv(AttributeLocation(name), GL_VERTEX_ATTRIB_ARRAY_ENABLED, &enabled);
    return enabled != 0;
  }
};

MeshData WithoutNormals(MeshData mesh) {
  mesh.normals.clear();
  return mesh;
}

MeshData WithoutIndices(MeshData mesh) {
  mesh.indices.clear();
  return mesh;
}

MeshData TurnedAround(MeshData mesh) {
  std::reverse(mesh.indices.begin(), mesh.indices.end());
  return mesh;
}

const std::string kEmptyMesh = RendererLines({"Empty mesh data"});

// ---- Where pixels land ------------------------------------------------------------------------------------

TEST_F(DrawingTest, EveryPixelOfTheFrameHasItsPlace) {
  const struct { int width, height; } sizes[] = {{7, 3}, {3, 7}, {4, 6}};
  for (const auto& size : sizes) {
    SCOPED_TRACE(::testing::Message() << size.width << " x " << size.height);
    Start(size.width, size.height);
    // A colour of its own for every pixel; with the light from behind it is drawn at 0.6.
    light_ = {0, 0, -1};
    const auto color = [](int x, int y) {
      return Color{0.1f + 0.1f * static_cast<float>(x), 1.0f - 0.1f * static_cast<float>(y), 0.3f, 1.0f};
    };
    std::vector<MeshData> meshes;
    for (int y = 0; y < size.height; ++y) {
      for (int x = 0; x < size.width; ++x) meshes.push_back(Rectangle({x, y, x + 1, y + 1}, color(x, y)));
    }
    const Frame frame = Render(meshes);
    for (int y = 0; y < size.height; ++y) {
      for (int x = 0; x < size.width; ++x) {
        EXPECT_THAT(frame.At(x, y), IsNear(Opaque(color(x, y), 0.6))) << "at " << x << ", " << y;
      }
    }
    renderer_.cleanup();
  }
}

TEST_F(DrawingTest, PixelsThatNothingCoversAreTransparentBlack) {
  Start(7, 5);
  const Area area = {2, 1, 4, 3};
  const Frame frame = Render({Rectangle(area, kOrange)});
  for (int y = 0; y < 5; ++y) {
    for (int x = 0; x < 7; ++x) {
      const bool covered = x >= area.left && x < area.right && y >= area.top && y < area.bottom;
      if (covered) {
        EXPECT_THAT(frame.At(x, y), IsNear(Opaque(kOrange, kFacingTheLight))) << "at " << x << ", " << y;
      } else {
        EXPECT_EQ(frame.At(x, y), kUncovered) << "at " << x << ", " << y;
      }
    }
  }
}

TEST_F(DrawingTest, AFrameWithoutMeshesIsTransparentBlackAllOver) {
  Start(7, 5);
  EXPECT_EQ(Render({}).bytes, Frame(7, 5).bytes);
}

TEST_F(DrawingTest, EachFrameStartsClear) {
  Start(5, 3);
  Render({WholeFrame(kOrange, -0.5f)});
  // Neither the colour of the frame before nor its depth is left.
  const Frame frame = Render({Rectangle({0, 0, 5, 1}, kTeal, 0.5f)});
  EXPECT_THAT(frame.At(4, 0), IsNear(Opaque(kTeal, kFacingTheLight)));
  EXPECT_EQ(frame.At(4, 1), kUncovered);
  EXPECT_EQ(frame.At(4, 2), kUncovered);
}

TEST_F(DrawingTest, TheMvpIsTakenColumnByColumn) {
  Start(7, 5);
  const MeshData pixel = Rectangle({3, 2, 4, 3}, kOrange);
  mvp_.m[12] = 2.0f * 2 / 7;  // two pixels to the right
  mvp_.m[13] = 2.0f * 1 / 5;  // one pixel up
  const Frame moved = Render({pixel});
  EXPECT_THAT(moved.At(5, 1), IsNear(Opaque(kOrange, kFacingTheLight)));
  EXPECT_EQ(moved.At(3, 2), kUncovered);
}

TEST_F(DrawingTest, TheMvpDividesByW) {
  Start(12, 8);
  // w = 2 everywhere: half as far from the middle.
  mvp_.m[15] = 2.0f;
  const Frame frame = Render({WholeFrame(kOrange)});
  for (const auto& [x, y] : {std::pair(3, 2), std::pair(8, 2), std::pair(3, 5), std::pair(8, 5)}) {
    EXPECT_THAT(frame.At(x, y), IsNear(Opaque(kOrange, kFacingTheLight))) << "at " << x << ", " << y;
  }
  for (const auto& [x, y] : {std::pair(2, 2), std::pair(9, 5), std::pair(3, 1), std::pair(8, 6)}) {
    EXPECT_EQ(frame.At(x, y), kUncovered) << "at " << x << ", " << y;
  }
}

TEST_F(DrawingTest, AMeshMayChangeBetweenFramesWithoutNotice) {
  Start(5, 3);
  MeshData mesh = Rectangle({0, 0, 1, 1}, kOrange);
  EXPECT_EQ(Render({mesh}).At(4, 2), kUncovered);
  mesh.positions = Rectangle({4, 2, 5, 3}, kOrange).positions;
  EXPECT_THAT(Render({mesh}).At(4, 2), IsNear(Opaque(kOrange, kFacingTheLight)));
}

TEST_F(DrawingTest, TrianglesOfAMeshNeedNotTouch) {
  Start(7, 5);
  MeshData mesh = Rectangle({0, 0, 2, 5}, kOrange);
  const MeshData apart = Rectangle({5, 0, 7, 5}, kOrange);
  mesh.positions.insert(mesh.positions.end(), apart.positions.begin(), apart.positions.end());
  mesh.normals.insert(mesh.normals.end(), apart.normals.begin(), apart.normals.end());
  for (const uint32_t index : apart.indices) mesh.indices.push_back(4 + index);
  const Frame frame = Render({mesh});
  for (int x = 0; x < 7; ++x) {
    EXPECT_THAT(frame.At(x, x % 5), IsNear(x < 2 || x >= 5 ? Opaque(kOrange, kFacingTheLight) : kUncovered)) << x;
  }
}

TEST_F(DrawingTest, IndicesMayExceedSixteenBits) {
  Start(5, 3);
  // The last four of 70,004 vertices; as 16-bit numbers the indices would name points that cover nothing.
  const MeshData corners = WholeFrame(kOrange);
  MeshData mesh;
  mesh.color = kOrange;
  const uint32_t first = 70000;
  mesh.positions.assign(first * 3, 5.0f);
  mesh.normals.assign(first * 3, 0.0f);
  mesh.positions.insert(mesh.positions.end(), corners.positions.begin(), corners.positions.end());
  mesh.normals.insert(mesh.normals.end(), corners.normals.begin(), corners.normals.end());
  for (const uint32_t index : corners.indices) mesh.indices.push_back(first + index);
  EXPECT_THAT(RenderOnePixel(mesh), IsNear(Opaque(kOrange, kFacingTheLight)));
}

// ---- Light ------------------------------------------------------------------------------------------------

TEST_F(DrawingTest, LightRaisesTheColourFromSixToElevenTenths) {
  Start(5, 3);
  const struct {
    const char* what;
    Vector normal, light;
    double factor;
  } cases[] = {
      {"facing the light", {0, 0, 1}, {0, 0, 1}, 1.1},
      {"facing away", {0, 0, -1}, {0, 0, 1}, 0.6},
      {"half turned away", {0, 0, -1}, {0, 1, 0.5f}, 0.6},
      {"at a right angle", {1, 0, 0}, {0, 1, 0}, 0.6},
      {"60 degrees off", {0.8660254f, 0.5f, 0}, {0, 1, 0}, 0.85},
      {"45 degrees off", {0.7071068f, 0, 0.7071068f}, {0, 0, 1}, 0.9535534},
      {"a long normal", {0, 7, 0}, {0, 1, 0}, 1.1},
      {"a short normal", {0, 0.25f, 0.25f}, {0, 1, 0}, 0.9535534},
      {"a long light", {0, 1, 0}, {0, 10, 10}, 0.9535534},
      {"the viewer's light, face towards the camera", {0, 0, 1}, {0.5f, 0.7f, 1.0f}, 0.9790286},
      {"the viewer's light, face up", {0, 1, 0}, {0.5f, 0.7f, 1.0f}, 0.8653200},
      {"the viewer's light, face to the right", {1, 0, 0}, {0.5f, 0.7f, 1.0f}, 0.7895143},
  };
  for (const auto& c : cases) {
    light_ = c.light;
    EXPECT_THAT(RenderOnePixel(WholeFrame(kOrange, 0, c.normal)), IsNear(Opaque(kOrange, c.factor))) << c.what;
    EXPECT_THAT(RenderOnePixel(WholeFrame(kViolet, 0, c.normal)), IsNear(Opaque(kViolet, c.factor))) << c.what;
  }
}

TEST_F(DrawingTest, ChannelsThatLightRaisesAboveOneAreClamped) {
  Start(5, 3);
  const Pixel bright = RenderOnePixel(WholeFrame({1.0f, 0.95f, 0.5f, 1.0f}));
  EXPECT_EQ(bright.r, 255);
  EXPECT_EQ(bright.g, 255);  // 1.045
  EXPECT_NEAR(bright.b, 140, 1);
  EXPECT_EQ(bright.a, 255);
}

TEST_F(DrawingTest, AlphaIsOpaqueWhateverTheLightAndTheMeshsOwnAlpha) {
  Start(5, 3);
  EXPECT_EQ(RenderOnePixel(WholeFrame({0.5f, 0.5f, 0.5f, 0.0f}, 0, {0, 0, -1})).a, 255);
  EXPECT_EQ(RenderOnePixel(WholeFrame({0.0f, 0.0f, 0.0f, 0.3f})), (Pixel{0, 0, 0, 255}));
}

TEST_F(DrawingTest, NormalsAreInterpolatedAndMadeUnitLengthPerPixel) {
  const int width = 9;
  Start(width, 3);
  light_ = {1, 0, 0};
  MeshData mesh = WholeFrame(kOrange);
  // From (1, 0, 0) on the left to (0, 0, 1) on the right.
  mesh.normals = {1, 0, 0, 0, 0, 1, 0, 0, 1, 1, 0, 0};
  const Frame frame = Render({mesh});
  for (int x = 0; x < width; ++x) {
    const double t = (x + 0.5) / width;
    const double cosine = (1 - t) / std::hypot(1 - t, t);
    EXPECT_THAT(frame.At(x, 0), IsNear(Opaque(kOrange, 0.6 + 0.5 * cosine))) << x;
    EXPECT_THAT(frame.At(x, 2), IsNear(Opaque(kOrange, 0.6 + 0.5 * cosine))) << x;
  }
}

TEST_F(DrawingTest, LightTurnsWithTheModel) {
  Start(5, 3);
  light_ = {0, 0, 1};
  // Half a turn about the vertical: the face now looks away, its light is as before.
  mvp_.at(0, 0) = -1.0f;
  mvp_.at(2, 2) = -1.0f;
  EXPECT_THAT(RenderOnePixel(WholeFrame(kOrange)), IsNear(Opaque(kOrange, kFacingTheLight)));
}

TEST_F(DrawingTest, SetModelLeavesTheFrameAsItIs) {
  Start(7, 5);
  light_ = {0.5f, 0.7f, 1.0f};
  const std::vector<MeshData> meshes = {Rectangle({1, 0, 6, 4}, kOrange)};
  const Frame plain = Render(meshes);
  model_.m = {0, 3, 0, 1, -3, 0, 0, 1, 0, 0, -2, 0, 5, 5, 5, 2};
  EXPECT_EQ(Render(meshes).bytes, plain.bytes);
}

TEST_F(DrawingTest, TheLightsOwnColourMakesNoDifference) {
  Start(7, 5);
  light_ = {0.5f, 0.7f, 1.0f};
  const std::vector<MeshData> meshes = {Rectangle({1, 0, 6, 4}, kOrange)};
  const Frame white = Render(meshes);
  light_color_ = {9, 9, 9};
  EXPECT_EQ(Render(meshes).bytes, white.bytes);
  light_color_ = {0, 0, 0};
  EXPECT_EQ(Render(meshes).bytes, white.bytes);
}

// ---- Depth, faces, blending -------------------------------------------------------------------------------

TEST_F(DrawingTest, TheNearerMeshWinsWhateverTheOrder) {
  Start(5, 3);
  const MeshData near = Rectangle({0, 0, 3, 3}, kOrange, -0.5f);
  const MeshData far = Rectangle({2, 0, 5, 3}, kTeal, 0.5f);
  for (const auto& meshes : {std::vector{near, far}, std::vector{far, near}}) {
    const Frame frame = Render(meshes);
    EXPECT_THAT(frame.At(1, 0), IsNear(Opaque(kOrange, kFacingTheLight)));
    EXPECT_THAT(frame.At(2, 1), IsNear(Opaque(kOrange, kFacingTheLight)));
    EXPECT_THAT(frame.At(3, 2), IsNear(Opaque(kTeal, kFacingTheLight)));
  }
}

TEST_F(DrawingTest, MeshesThatCrossAreSortedPerPixel) {
  Start(8, 2);
  MeshData tilted = WholeFrame(kOrange);
  for (const size_t corner : {size_t{0}, size_t{3}}) tilted.positions[corner * 3 + 2] = -0.9f;  // on the left
  for (const size_t corner : {size_t{1}, size_t{2}}) tilted.positions[corner * 3 + 2] = 0.9f;   // on the right
  const Frame frame = Render({WholeFrame(kTeal), tilted});
  for (int x = 0; x < 8; ++x) {
    EXPECT_THAT(frame.At(x, 0), IsNear(Opaque(x < 4 ? kOrange : kTeal, kFacingTheLight))) << x;
  }
}

TEST_F(DrawingTest, OfTwoMeshesAtOneDepthTheFirstStays) {
  Start(5, 3);
  EXPECT_THAT(Render({WholeFrame(kOrange), WholeFrame(kTeal)}).At(4, 2), IsNear(Opaque(kOrange, kFacingTheLight)));
}

TEST_F(DrawingTest, DepthIsToldApartInSixteenBits) {
  Start(5, 3);
  // Depth d is stored as (d + 1) / 2 of 65535; this one lies well inside the step 39321.
  const float depth = 2.0f * 39321.3f / 65535.0f - 1.0f;
  const float step = 2.0f / 65535.0f;
  const MeshData far = WholeFrame(kOrange, depth);
  EXPECT_THAT(Render({far, WholeFrame(kTeal, depth - 3.0f * step)}).At(4, 2), IsNear(Opaque(kTeal, kFacingTheLight)));
  EXPECT_THAT(Render({far, WholeFrame(kTeal, depth - 0.1f * step)}).At(4, 2), IsNear(Opaque(kOrange, kFacingTheLight)))
      << "a tenth of a step nearer is the same depth";
}

TEST_F(DrawingTest, BothFacesAreDrawn) {
  Start(5, 3);
  EXPECT_THAT(RenderOnePixel(WholeFrame(kOrange)), IsNear(Opaque(kOrange, kFacingTheLight)));
  EXPECT_THAT(RenderOnePixel(TurnedAround(WholeFrame(kOrange))), IsNear(Opaque(kOrange, kFacingTheLight)));
}

TEST_F(DrawingTest, ATranslucentShaderIsBlendedOverWhatLiesBehind) {
  // Half transparent where the object's colour has blue in it, opaque elsewhere.
  const char* const half_where_blue = R"(
precision mediump float;
uniform vec3 u_objectColor;
void main() { gl_FragColor = vec4(u_objectColor.rg, 0.0, u_objectColor.b > 0.5 ? 0.5 : 1.0); }
)";
  Start(5, 3, kVertexShader, half_where_blue);
  const Frame frame = Render(
      {Rectangle({0, 0, 3, 3}, {0.2f, 0.4f, 0.0f, 1}, 0.5f), Rectangle({0, 1, 5, 3}, {0.8f, 0.6f, 1.0f, 1}, -0.5f)});
  EXPECT_THAT(frame.At(0, 0), IsNear(Pixel{51, 102, 0, 255}));
  EXPECT_THAT(frame.At(0, 2), IsNear(Pixel{128, 128, 0, 191}));  // half and half; alpha 0.5 * 0.5 + 0.5 * 1
  EXPECT_THAT(frame.At(4, 2), IsNear(Pixel{102, 77, 0, 64}));    // over nothing
}

TEST_F(DrawingTest, EveryFrameSetsAllTheStateThatDrawingNeeds) {
  Start(7, 5);
  const std::vector<MeshData> meshes = {Rectangle({0, 0, 6, 4}, kOrange, -0.5f),
                                        TurnedAround(Rectangle({0, 0, 3, 4}, kTeal, -0.7f)),
                                        Rectangle({0, 0, 6, 3}, kViolet, 0.5f)};
  const Frame undisturbed = Render(meshes);
  renderer_.beginFrame();
  const GLuint program = GlName(GL_CURRENT_PROGRAM);
  const GLuint framebuffer = GlName(GL_FRAMEBUFFER_BINDING);

  glBindFramebuffer(GL_FRAMEBUFFER, 0);
  glViewport(1, 1, 2, 2);
  glClearColor(1, 1, 1, 1);
  glDisable(GL_DEPTH_TEST);
  glEnable(GL_CULL_FACE);
  glDisable(GL_BLEND);
  glBlendFunc(GL_ZERO, GL_ONE);
  glUseProgram(0);
  EXPECT_EQ(Render(meshes).bytes, undisturbed.bytes);

  EXPECT_EQ(GlName(GL_FRAMEBUFFER_BINDING), framebuffer);
  GLint viewport[4] = {};
  glGetIntegerv(GL_VIEWPORT, viewport);
  EXPECT_THAT(viewport, ::testing::ElementsAre(0, 0, 7, 5));
  EXPECT_TRUE(glIsEnabled(GL_DEPTH_TEST));
  EXPECT_EQ(GlInteger(GL_DEPTH_FUNC), GL_LESS);
  EXPECT_FALSE(glIsEnabled(GL_CULL_FACE));
  EXPECT_TRUE(glIsEnabled(GL_BLEND));
  EXPECT_EQ(GlInteger(GL_BLEND_SRC_RGB), GL_SRC_ALPHA);
  EXPECT_EQ(GlInteger(GL_BLEND_SRC_ALPHA), GL_SRC_ALPHA);
  EXPECT_EQ(GlInteger(GL_BLEND_DST_RGB), GL_ONE_MINUS_SRC_ALPHA);
  EXPECT_EQ(GlInteger(GL_BLEND_DST_ALPHA), GL_ONE_MINUS_SRC_ALPHA);
  EXPECT_EQ(GlName(GL_CURRENT_PROGRAM), program);
}

// ---- Meshes with something missing ------------------------------------------------------------------------

TEST_F(DrawingTest, AMeshWithoutNormalsTakesTheAttributesGenericValue) {
  Start(5, 3);
  Render({WholeFrame(kOrange)});  // with normals, which the next mesh must not take for its own
  const GLuint normal = AttributeLocation("a_normal");
  glVertexAttrib3f(normal, 0, 0, 1);
  EXPECT_THAT(RenderOnePixel(WithoutNormals(WholeFrame(kOrange))), IsNear(Opaque(kOrange, 1.1)));
  glVertexAttrib3f(normal, 0, 0, -1);
  EXPECT_THAT(RenderOnePixel(WithoutNormals(WholeFrame(kOrange))), IsNear(Opaque(kOrange, 0.6)));
}

TEST_F(DrawingTest, AMeshWithoutNormalsCoversItsPixelsEvenAtTheGenericValueOfZeros) {
  Start(5, 3);
  // A normal without a length has no direction, so only that the pixels are covered is certain.
  const Frame frame = Render({WithoutNormals(Rectangle({0, 0, 5, 2}, kOrange))});
  EXPECT_EQ(frame.At(0, 0).a, 255);
  EXPECT_EQ(frame.At(4, 1).a, 255);
  EXPECT_EQ(frame.At(4, 2), kUncovered);
}

TEST_F(DrawingTest, BothAttributesAreDisabledAfterAMeshWithOrWithoutNormals) {
  Start(5, 3);
  Render({WholeFrame(kOrange)});
  EXPECT_FALSE(IsAttributeEnabled("a_position"));
  EXPECT_FALSE(IsAttributeEnabled("a_normal"));

  const MeshData whole = WholeFrame(kOrange);
  glVertexAttribPointer(AttributeLocation("a_normal"), 3, GL_FLOAT, GL_FALSE, 0, whole.normals.data());
  glEnableVertexAttribArray(AttributeLocation("a_normal"));
  Render({WithoutNormals(whole)});
  EXPECT_FALSE(IsAttributeEnabled("a_position"));
  EXPECT_FALSE(IsAttributeEnabled("a_normal"));
}

TEST_F(DrawingTest, AnEmptyMeshBetweenTwoOthersIsSkippedAlone) {
  Start(5, 3);
  const Frame frame = Render(
      {Rectangle({0, 0, 2, 3}, kOrange), WithoutIndices(WholeFrame(kViolet, -0.9f)), Rectangle({3, 0, 5, 3}, kTeal)},
      kEmptyMesh);
  EXPECT_THAT(frame.At(0, 2), IsNear(Opaque(kOrange, kFacingTheLight)));
  EXPECT_EQ(frame.At(2, 1), kUncovered);
  EXPECT_THAT(frame.At(4, 0), IsNear(Opaque(kTeal, kFacingTheLight)));
}

}  // namespace
