// Frames: the data and the state that reach every draw, meshes that lack something, errors.

#include <array>
#include <thread>

#include <GLES2/gl2.h>

#include "test/renderer/fake_renderer_test.h"

using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::StartsWith;

namespace {

Matrix4 CountingMatrix() {
  Matrix4 matrix;
  for (size_t i = 0; i < 16; ++i) matrix.m[i] = 0.5f + static_cast<float>(i);
  return matrix;
}

// A mesh with normals and one without.
const std::vector<float> kPositions = {1, 2, 3, 4, 5, 6, 7, 8, 9.5f};
const std::vector<float> kNormals = {0, 0, 1, 0, 1, 0, -1, 0, 0};
const std::vector<uint32_t> kIndices = {0, 2, 1};
const std::vector<float> kPlainPositions = {-1, -2, -3, -4, -5, -6, -7, -8, -9, -10, -11, -12};
const std::vector<uint32_t> kPlainIndices = {3, 1, 2, 1, 3, 2};

class DrawingOnFakesTest : public FakeRendererTest {
 protected:
  // A frame as the render loop draws it.
  void DrawFrame() {
    renderer_->beginFrame();
    renderer_->setMVP(CountingMatrix());
    renderer_->setModel(CountingMatrix());
    renderer_->setLighting(0.5f, 0.75f, 1.0f, 2.0f, 3.0f, 4.0f);
    renderer_->setObjectColor(0.125f, 0.25f, 0.375f);
    renderer_->renderMesh(kPositions, kNormals, kIndices);
    renderer_->setObjectColor(1.0f, 0.0f, 0.625f);
    renderer_->renderMesh(kPlainPositions, {}, kPlainIndices);
    renderer_->endFrame();
  }
};

}  // namespace

TEST_F(DrawingOnFakesTest, WindowModeDrawsIntoTheWindow) {
  MakeReady(true);
  DrawFrame();
  ASSERT_THAT(fake_graphics::Draws(), SizeIs(2));
  for (const fake_graphics::Draw& draw : fake_graphics::Draws()) EXPECT_EQ(draw.framebuffer, 0u);
  TakeCalls();
  EXPECT_TRUE(renderer_->swapBuffers());
  EXPECT_EQ(TakeCalls(), "eglSwapBuffers(display1, surface1) -> EGL_TRUE\n");
}

TEST_F(DrawingOnFakesTest, SwapBuffersTellsThatItFailed) {
  MakeReady(true);
  fake_graphics::FailCall("eglSwapBuffers");
  EXPECT_FALSE(renderer_->swapBuffers());
  EXPECT_EQ(TakeCalls(), "eglSwapBuffers(display1, surface1) -> EGL_FALSE\n");
}

TEST_F(DrawingOnFakesTest, SwapBuffersOffscreenDoesNothing) {
  MakeReady();
  EXPECT_FALSE(renderer_->swapBuffers());
  EXPECT_EQ(TakeCalls(), "");
}

TEST_F(DrawingOnFakesTest, StateThatReachesEachDraw) {
  MakeReady();
  DrawFrame();
  const std::vector<fake_graphics::Draw> draws = fake_graphics::Draws();
  ASSERT_THAT(draws, SizeIs(2));
  for (const fake_graphics::Draw& draw : draws) {
    EXPECT_EQ(draw.context, "context1");
    EXPECT_EQ(draw.thread, std::this_thread::get_id());
    EXPECT_EQ(draw.framebuffer, 1u);
    EXPECT_EQ(draw.program, 6u);
    EXPECT_EQ(draw.mode, static_cast<unsigned>(GL_TRIANGLES));
    EXPECT_TRUE(draw.depth_test);
    EXPECT_FALSE(draw.cull_face);
    EXPECT_TRUE(draw.blend);
    EXPECT_THAT(draw.blend_factors, ElementsAre(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA));
    EXPECT_THAT(draw.clear_color, ElementsAre(0.0f, 0.0f, 0.0f, 0.0f));
    EXPECT_THAT(draw.viewport, ElementsAre(0, 0, 640, 480));
    const auto& matrix = CountingMatrix().m;
    EXPECT_EQ(draw.uniforms.at("u_mvp"), std::vector<float>(matrix.begin(), matrix.end()));
    EXPECT_THAT(draw.uniforms.at("u_lightDir"), ElementsAre(0.5f, 0.75f, 1.0f));
    EXPECT_EQ(draw.attributes.at("a_position").size, 3);
  }
  EXPECT_EQ(draws[0].indices, kIndices);
  EXPECT_EQ(draws[0].attributes.at("a_position").values, kPositions);
  EXPECT_EQ(draws[0].attributes.at("a_normal").values, kNormals);
  EXPECT_THAT(draws[0].uniforms.at("u_objectColor"), ElementsAre(0.125f, 0.25f, 0.375f));
  EXPECT_EQ(draws[1].indices, kPlainIndices);
  EXPECT_EQ(draws[1].attributes.at("a_position").values, kPlainPositions);
  EXPECT_FALSE(draws[1].attributes.at("a_normal").enabled);
  EXPECT_THAT(draws[1].uniforms.at("u_objectColor"), ElementsAre(1.0f, 0.0f, 0.625f));
}

// ---- Meshes -----------------------------------------------------------------------------------------------

namespace {

class MeshOnFakesTest : public DrawingOnFakesTest {
 protected:
  void Begin() {
    MakeReady();
    renderer_->beginFrame();
    ForgetCallsAndLog();
  }
};

}  // namespace

TEST_F(MeshOnFakesTest, NormalsAreSkippedWithoutTheAttribute) {
  fake_graphics::SetLocation("a_normal", -1);
  Begin();
  renderer_->renderMesh(kPositions, kNormals, kIndices);
  EXPECT_EQ(TakeCalls(),
            "glEnableVertexAttribArray(2)\n"
            "glVertexAttribPointer(2, 3, GL_FLOAT, GL_FALSE, 0, client memory)\n"
            "glDrawElements(GL_TRIANGLES, 3, GL_UNSIGNED_INT, {0, 2, 1}) a_position {1, 2, 3, 4, 5, 6, 7, 8, 9.5}\n"
            "glGetError() -> GL_NO_ERROR\n"
            "glDisableVertexAttribArray(2)\n");
  EXPECT_EQ(err_.Take(), "");
}

TEST_F(MeshOnFakesTest, NormalsAtLocationZeroAreUsed) {
  fake_graphics::SetLocation("a_normal", 0);
  Begin();
  renderer_->renderMesh(kPositions, kNormals, kIndices);
  EXPECT_EQ(fake_graphics::Draws().at(0).attributes.at("a_normal").values, kNormals);
  EXPECT_EQ(fake_graphics::Calls().back().text, "glDisableVertexAttribArray(0)");
}

TEST_F(MeshOnFakesTest, PositionsAreNotCheckedForTheirAttribute) {
  fake_graphics::SetLocation("a_position", -1);
  Begin();
  {
    const fake_graphics::Allowance allowance(
        {"glEnableVertexAttribArray", "glVertexAttribPointer", "glDisableVertexAttribArray"});
    renderer_->renderMesh(kPositions, {}, kIndices);
  }
  EXPECT_EQ(TakeCalls(),
            "glEnableVertexAttribArray(-1)\n"
            "glVertexAttribPointer(-1, 3, GL_FLOAT, GL_FALSE, 0, client memory)\n"
            "glDrawElements(GL_TRIANGLES, 3, GL_UNSIGNED_INT, {0, 2, 1}) a_normal off\n"
            "glGetError() -> GL_INVALID_VALUE\n"
            "glDisableVertexAttribArray(-1)\n"
            "glDisableVertexAttribArray(5)\n");
  EXPECT_EQ(err_.Take(), RendererLines({"GL error: 0x501"}));
}

TEST_F(MeshOnFakesTest, WithoutPositionsOrIndicesIsReportedAndSkippedAlone) {
  Begin();
  renderer_->renderMesh({}, kNormals, kIndices);
  renderer_->renderMesh(kPositions, kNormals, {});
  EXPECT_EQ(TakeCalls(), "");
  EXPECT_EQ(err_.Take(), RendererLines({"Empty mesh data", "Empty mesh data"}));
  EXPECT_EQ(out_.Take(), "");
  renderer_->renderMesh(kPositions, kNormals, kIndices);
  EXPECT_THAT(fake_graphics::Draws(), SizeIs(1)) << "the next one is drawn";
}

TEST_F(MeshOnFakesTest, EachErrorIsReportedAndTheFrameGoesOn) {
  MakeReady();
  fake_graphics::FailEveryCall("glDrawElements", GL_OUT_OF_MEMORY);
  DrawFrame();
  EXPECT_EQ(err_.Take(), RendererLines({"GL error: 0x505", "GL error: 0x505"}));
  EXPECT_EQ(out_.Take(), "");
  EXPECT_THAT(fake_graphics::Draws(), IsEmpty());
  EXPECT_THAT(TakeCalls(), EndsWith("glGetError() -> GL_OUT_OF_MEMORY\nglDisableVertexAttribArray(2)\n"
                                    "glDisableVertexAttribArray(5)\nglFlush()\nglFinish()\n"));
}

TEST_F(MeshOnFakesTest, OneErrorIsTakenFromTheQueue) {
  Begin();
  fake_graphics::QueueGlError(GL_INVALID_ENUM);
  fake_graphics::QueueGlError(GL_OUT_OF_MEMORY);
  for (int mesh = 0; mesh < 3; ++mesh) renderer_->renderMesh(kPositions, {}, kIndices);
  EXPECT_EQ(err_.Take(), RendererLines({"GL error: 0x500", "GL error: 0x505"}));
}

// ---- A renderer that cannot draw --------------------------------------------------------------------------

// With no program every location is -1, which is no attribute and no uniform.
TEST_F(DrawingOnFakesTest, WithoutSetUpAFrameHasNoEffect) {
  const fake_graphics::Allowance allowance(fake_graphics::FrameCalls());
  DrawFrame();
  EXPECT_EQ(TakeCallsOf({"glUseProgram", "glUniform3f", "glEnableVertexAttribArray", "glDisableVertexAttribArray"}),
            "glUseProgram(0)\n"
            "glUniform3f(-1, 0.5, 0.75, 1)\n"
            "glUniform3f(-1, 0.125, 0.25, 0.375)\n"
            "glEnableVertexAttribArray(-1)\n"
            "glDisableVertexAttribArray(-1)\n"  // the position's alone
            "glUniform3f(-1, 1, 0, 0.625)\n"
            "glEnableVertexAttribArray(-1)\n"
            "glDisableVertexAttribArray(-1)\n");
  EXPECT_THAT(fake_graphics::Draws(), IsEmpty());
  EXPECT_EQ(out_.Take() + err_.Take(), "");
}

TEST_F(DrawingOnFakesTest, AfterFailedShadersAFrameReportsTheError) {
  ASSERT_TRUE(Initialize());
  fake_graphics::FailCall("glCompileShader");
  EXPECT_FALSE(LoadShaders());
  ForgetCallsAndLog();
  const fake_graphics::Allowance allowance(fake_graphics::FrameCalls());
  DrawFrame();
  EXPECT_THAT(TakeCallsOf({"glUniformMatrix4fv"}), StartsWith("glUniformMatrix4fv(-1, 1, GL_FALSE, {0.5, "));
  EXPECT_THAT(fake_graphics::Draws(), IsEmpty());
  EXPECT_THAT(err_.Take(), StartsWith("[EGLRenderer] GL error: 0x"));
}
