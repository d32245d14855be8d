// Taking frames out of the renderer, on a real driver.

#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "test/renderer/gl_fixture.h"

namespace {

class ReadbackTest : public GlTest {
 protected:
  ~ReadbackTest() override { unlink(path_.c_str()); }

  // Draws four corners in four colours on an uncovered ground.
  Frame RenderCorners() {
    const int right = renderer_.width();
    const int bottom = renderer_.height();
    return Render({Rectangle({0, 0, 1, 1}, kOrange), Rectangle({right - 1, 0, right, 1}, kTeal),
                   Rectangle({0, bottom - 1, 1, bottom}, kRed),
                   Rectangle({right - 1, bottom - 1, right, bottom}, kViolet)});
  }

  Said ReadPixels(unsigned char* buffer, int width, int height) {
    return WhatIsSaid([&] { renderer_.readPixels(buffer, width, height); });
  }

  Said SaveFrame(bool expected_result, const std::string& path) {
    bool saved = !expected_result;
    Said said = WhatIsSaid([&] { saved = renderer_.saveFrameToPPM(path.c_str()); });
    EXPECT_EQ(saved, expected_result);
    return said;
  }

  // Takes away what frames are drawn into, so that there is nothing to read.
  void EmptyTheFramebuffer() {
    renderer_.beginFrame();
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, 0, 0);
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_DEPTH_ATTACHMENT, GL_RENDERBUFFER, 0);
    ASSERT_EQ(glGetError(), GLenum{GL_NO_ERROR});
  }

  static constexpr Color kRed = {1, 0, 0, 1};

  // For one image file; removed at the end.
  const std::string path_ = ::testing::TempDir() + "orbisk_frame_" + std::to_string(getpid()) + ".ppm";
};

bool Exists(const std::string& path) { return access(path.c_str(), F_OK) == 0; }

std::string Contents(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

// The image file that shows `frame`.
std::string Ppm(const Frame& frame) {
  std::string file = "P6\n" + std::to_string(frame.width) + " " + std::to_string(frame.height) + "\n255\n";
  for (int y = 0; y < frame.height; ++y) {
    for (int x = 0; x < frame.width; ++x) {
      const Pixel pixel = frame.At(x, y);
      for (const int channel : {pixel.r, pixel.g, pixel.b}) file += static_cast<char>(channel);
    }
  }
  return file;
}

// ---- readPixels -------------------------------------------------------------------------------------------

TEST_F(ReadbackTest, TheBottomLeftPixelIsTheFirstOfTheLastRow) {
  Start(5, 3);
  const Frame frame = RenderCorners();
  EXPECT_EQ(frame.At(0, 2), (Pixel{255, 0, 0, 255}));
  const unsigned char* last_row = &frame.bytes[2 * 5 * 4];
  EXPECT_THAT(std::vector<int>(last_row, last_row + 4), ::testing::ElementsAre(255, 0, 0, 255));

  // GL counts from there.
  unsigned char first_of_gl[4] = {};
  glReadPixels(0, 0, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, first_of_gl);
  EXPECT_THAT(first_of_gl, ::testing::ElementsAre(255, 0, 0, 255));
}

TEST_F(ReadbackTest, CornersComeOutInTheirPlacesAndChannelsInOrder) {
  Start(5, 3);
  const Frame frame = RenderCorners();
  EXPECT_THAT(frame.At(0, 0), IsNear(Pixel{252, 140, 56, 255}));
  EXPECT_THAT(frame.At(4, 0), IsNear(Opaque(kTeal, kFacingTheLight)));
  EXPECT_THAT(frame.At(4, 2), IsNear(Opaque(kViolet, kFacingTheLight)));
  EXPECT_EQ(frame.At(2, 0), kUncovered);
  EXPECT_EQ(frame.At(2, 1), kUncovered);
}

TEST_F(ReadbackTest, ReadPixelsWritesTheFrameAndNotAByteMore) {
  Start(5, 3);
  const Frame frame = RenderCorners();
  const size_t guard = 64;
  std::vector<unsigned char> buffer(guard + frame.bytes.size() + guard, 0xAB);
  const Said said = ReadPixels(&buffer[guard], 5, 3);
  EXPECT_EQ(said.out + said.err, "");
  EXPECT_TRUE(std::equal(frame.bytes.begin(), frame.bytes.end(), &buffer[guard]));
  const auto untouched = [](unsigned char byte) { return byte == 0xAB; };
  EXPECT_TRUE(std::all_of(buffer.begin(), buffer.begin() + guard, untouched));
  EXPECT_TRUE(std::all_of(buffer.end() - guard, buffer.end(), untouched));
}

TEST_F(ReadbackTest, ReadPixelsOfASmallerSizeReadsTheBottomLeft) {
  Start(5, 3);
  const Frame whole = RenderCorners();
  Frame part(2, 2);
  ReadPixels(part.bytes.data(), 2, 2);
  for (int y = 0; y < 2; ++y) {
    for (int x = 0; x < 2; ++x) EXPECT_EQ(part.At(x, y), whole.At(x, y + 1)) << x << ", " << y;
  }
}

TEST_F(ReadbackTest, ReadPixelsReadsTheRenderersFramebufferWhateverIsBoundAndLeavesItBound) {
  Start(5, 3);
  const Frame frame = RenderCorners();
  const GLint framebuffer = GlInteger(GL_FRAMEBUFFER_BINDING);
  glBindFramebuffer(GL_FRAMEBUFFER, 0);
  Frame again(5, 3);
  ReadPixels(again.bytes.data(), 5, 3);
  EXPECT_EQ(again.bytes, frame.bytes);
  EXPECT_NE(framebuffer, 0);
  EXPECT_EQ(GlInteger(GL_FRAMEBUFFER_BINDING), framebuffer);
}

TEST_F(ReadbackTest, ReadPixelsOfNoOrNegativeRowsCopiesNothing) {
  Start(5, 3);
  RenderCorners();
  const struct { int width, height; } sizes[] = {{5, 0}, {0, 3}, {0, 0}, {0, -3}, {-5, -3}};
  for (const auto& size : sizes) {
    unsigned char byte = 0xAB;
    const Said said = ReadPixels(&byte, size.width, size.height);
    EXPECT_EQ(said.out, "");
    EXPECT_EQ(said.err, size.height < 0 ? RendererLines({"readPixels: glReadPixels error: 0x501"}) : "");
    EXPECT_EQ(byte, 0xAB);
  }
}

TEST_F(ReadbackTest, AGlErrorInReadPixelsIsReportedAndTheBufferFilledWithZeros) {
  Start(5, 3);
  RenderCorners();
  EmptyTheFramebuffer();
  Frame frame(5, 3, 0xAB);
  const Said said = ReadPixels(frame.bytes.data(), 5, 3);
  EXPECT_EQ(said.out, "");
  EXPECT_EQ(said.err, RendererLines({"readPixels: glReadPixels error: 0x506"}));
  EXPECT_EQ(frame.bytes, Frame(5, 3).bytes);
}

// ---- saveFrameToPPM ---------------------------------------------------------------------------------------

TEST_F(ReadbackTest, AFrameOfTwoPixelsMakesAFileOfElevenAndSixBytes) {
  Start(2, 1);
  Render({Rectangle({0, 0, 1, 1}, kRed), Rectangle({1, 0, 2, 1}, {0, 1, 1, 1})});
  const Said said = SaveFrame(true, path_);
  EXPECT_EQ(said.out + said.err, "") << "success is silent";
  EXPECT_EQ(Contents(path_), std::string("P6\n2 1\n255\n\xFF\0\0\0\xFF\xFF", 17));
}

TEST_F(ReadbackTest, AFrameIsSavedTopRowFirstWithoutAlpha) {
  Start(5, 3);
  const Frame frame = RenderCorners();
  glBindFramebuffer(GL_FRAMEBUFFER, 0);
  SaveFrame(true, path_);
  const std::string file = Contents(path_);
  EXPECT_EQ(file, Ppm(frame));
  ASSERT_EQ(file.size(), 11u + 5 * 3 * 3);
  const std::string last_row = file.substr(11 + 2 * 5 * 3);
  EXPECT_EQ(last_row.substr(0, 3), std::string("\xFF\0\0", 3)) << "the bottom left is red";
  EXPECT_EQ(last_row.substr(3, 3), std::string("\0\0\0", 3)) << "what nothing covers is black";
}

TEST_F(ReadbackTest, SavingReplacesALongerFile) {
  Start(5, 3);
  const Frame frame = RenderCorners();
  std::ofstream(path_) << std::string(1000, 'x');
  SaveFrame(true, path_);
  EXPECT_EQ(Contents(path_), Ppm(frame));
}

TEST_F(ReadbackTest, AFrameThatCannotBeReadIsNotSaved) {
  Start(5, 3);
  RenderCorners();
  EmptyTheFramebuffer();
  const Said said = SaveFrame(false, path_);
  EXPECT_EQ(said.out, "");
  EXPECT_EQ(said.err, RendererLines({"GL error reading pixels: 0x506"}));
  EXPECT_FALSE(Exists(path_));
}

}  // namespace
