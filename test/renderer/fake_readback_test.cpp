// Readback and PPM: which framebuffer is read, the order of rows, and what errors leave behind.

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include <GLES2/gl2.h>

#include "test/renderer/fake_renderer_test.h"

using Bytes = std::vector<uint8_t>;

namespace {

// Three columns and two rows, bottom row first; no two bytes are alike.
const Bytes kBottomUp = {1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11, 12,   // bottom row
                         13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24};  // top row
const Bytes kTopDown = {13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};

class ReadbackOnFakesTest : public FakeRendererTest {
 protected:
  ReadbackOnFakesTest() { EXPECT_TRUE(InitializeAt(3, 2)); }

  // Again, at another size.
  bool InitializeAt(int width, int height, bool window_mode = false) {
    renderer_->cleanup();
    const bool good = renderer_->initialize(width, height, window_mode);
    ForgetCallsAndLog();
    return good;
  }
};

std::string ReadCalls(int framebuffer, const std::string& size, const std::string& error) {
  return "glBindFramebuffer(GL_FRAMEBUFFER, " + std::to_string(framebuffer) + ")\nglReadPixels(0, 0, " + size +
         ", GL_RGBA, GL_UNSIGNED_BYTE)\nglGetError() -> " + error + "\n";
}

}  // namespace

// ---- readPixels -------------------------------------------------------------------------------------------

TEST_F(ReadbackOnFakesTest, TopRowComesFirst) {
  fake_graphics::SetPixels(kBottomUp);
  Bytes buffer(kBottomUp.size());
  renderer_->readPixels(buffer.data(), 3, 2);
  EXPECT_EQ(buffer, kTopDown);
  EXPECT_EQ(TakeCalls(), ReadCalls(1, "3, 2", "GL_NO_ERROR"));
}

TEST_F(ReadbackOnFakesTest, ReadsTheFramebufferObjectInWindowModeToo) {
  ASSERT_TRUE(InitializeAt(3, 2, true));
  Bytes buffer(kBottomUp.size());
  renderer_->beginFrame();
  TakeCalls();
  renderer_->readPixels(buffer.data(), 3, 2);
  EXPECT_EQ(TakeCalls(), ReadCalls(4, "3, 2", "GL_NO_ERROR"));
}

TEST_F(ReadbackOnFakesTest, TakesTheCallersSize) {
  fake_graphics::SetPixels({1, 2, 3, 4, 5, 6, 7, 8});
  Bytes buffer(8);
  renderer_->readPixels(buffer.data(), 1, 2);
  EXPECT_EQ(buffer, Bytes({5, 6, 7, 8, 1, 2, 3, 4}));
  EXPECT_EQ(TakeCalls(), ReadCalls(1, "1, 2", "GL_NO_ERROR"));
}

TEST_F(ReadbackOnFakesTest, NullBufferIsReportedAndNothingIsRead) {
  renderer_->readPixels(nullptr, 3, 2);
  EXPECT_EQ(TakeCalls(), "");
  EXPECT_EQ(out_.Take(), "");
  EXPECT_EQ(err_.Take(), RendererLines({"readPixels: buffer is null"}));
}

TEST_F(ReadbackOnFakesTest, ErrorIsReportedAndTheBufferBecomesZero) {
  fake_graphics::FailCall("glReadPixels", 1, GL_INVALID_FRAMEBUFFER_OPERATION);
  Bytes buffer(24, 99);
  renderer_->readPixels(buffer.data(), 3, 2);
  EXPECT_EQ(buffer, Bytes(24, 0));
  EXPECT_EQ(out_.Take(), "");
  EXPECT_EQ(err_.Take(), RendererLines({"readPixels: glReadPixels error: 0x506"}));
}

TEST_F(ReadbackOnFakesTest, EarlierErrorIsReportedAndThePixelsAreCopied) {
  fake_graphics::SetPixels(kBottomUp);
  fake_graphics::QueueGlError(GL_INVALID_ENUM);
  Bytes buffer(24, 99);
  renderer_->readPixels(buffer.data(), 3, 2);
  EXPECT_EQ(buffer, kTopDown);
  EXPECT_EQ(err_.Take(), RendererLines({"readPixels: glReadPixels error: 0x500"}));
}

TEST_F(ReadbackOnFakesTest, NoRowsReadAndCopyNothing) {
  Bytes buffer(24, 99);
  renderer_->readPixels(buffer.data(), 3, 0);
  EXPECT_EQ(buffer, Bytes(24, 99));
  EXPECT_EQ(TakeCalls(), ReadCalls(1, "3, 0", "GL_NO_ERROR"));
}

TEST_F(ReadbackOnFakesTest, NegativeRowsCopyNothing) {
  const fake_graphics::Allowance allowance({"glReadPixels"});
  Bytes buffer(24, 99);
  renderer_->readPixels(buffer.data(), -3, -2);
  EXPECT_EQ(buffer, Bytes(24, 99));
  EXPECT_EQ(TakeCalls(), ReadCalls(1, "-3, -2", "GL_INVALID_VALUE"));
  EXPECT_EQ(err_.Take(), RendererLines({"readPixels: glReadPixels error: 0x501"}));
}

TEST_F(ReadbackOnFakesTest, NegativeByteCountIsALengthError) {
  Bytes buffer(24, 99);
  EXPECT_THROW(renderer_->readPixels(buffer.data(), -3, 2), std::length_error);
  // 2^31 bytes are negative in 32 bits.
  EXPECT_THROW(renderer_->readPixels(buffer.data(), 1 << 15, 1 << 14), std::length_error);
  EXPECT_EQ(buffer, Bytes(24, 99));
  EXPECT_EQ(TakeCalls(), "glBindFramebuffer(GL_FRAMEBUFFER, 1)\nglBindFramebuffer(GL_FRAMEBUFFER, 1)\n");
}

// ---- saveFrameToPPM ---------------------------------------------------------------------------------------

namespace {

class PpmOnFakesTest : public ReadbackOnFakesTest {
 protected:
  ~PpmOnFakesTest() override { std::filesystem::remove(path_); }

  std::string FileContent() const {
    std::ifstream file(path_, std::ios::binary);
    EXPECT_TRUE(file.is_open());
    return {std::istreambuf_iterator<char>(file), {}};
  }

  const std::string path_ = ::testing::TempDir() + "orbisk_frame_" + std::to_string(getpid()) + ".ppm";
};

}  // namespace

TEST_F(PpmOnFakesTest, HoldsHeaderAndRowsTopDownWithoutAlpha) {
  fake_graphics::SetPixels(kBottomUp);
  EXPECT_TRUE(renderer_->saveFrameToPPM(path_.c_str()));
  EXPECT_EQ(FileContent(), std::string("P6\n3 2\n255\n") +
                               "\x0d\x0e\x0f\x11\x12\x13\x15\x16\x17"
                               "\x01\x02\x03\x05\x06\x07\x09\x0a\x0b");
  EXPECT_EQ(TakeCalls(), ReadCalls(1, "3, 2", "GL_NO_ERROR"));
  EXPECT_EQ(out_.Take() + err_.Take(), "");
}

TEST_F(PpmOnFakesTest, HoldsTheFramebufferObjectInWindowModeToo) {
  ASSERT_TRUE(InitializeAt(3, 2, true));
  renderer_->beginFrame();
  TakeCalls();
  EXPECT_TRUE(renderer_->saveFrameToPPM(path_.c_str()));
  EXPECT_EQ(TakeCalls(), ReadCalls(4, "3, 2", "GL_NO_ERROR"));
}

TEST_F(PpmOnFakesTest, ErrorIsReportedAndMakesNoFile) {
  fake_graphics::FailCall("glReadPixels", 1, GL_OUT_OF_MEMORY);
  EXPECT_FALSE(renderer_->saveFrameToPPM(path_.c_str()));
  EXPECT_FALSE(std::filesystem::exists(path_));
  EXPECT_EQ(out_.Take(), "");
  EXPECT_EQ(err_.Take(), RendererLines({"GL error reading pixels: 0x505"}));
}

TEST_F(PpmOnFakesTest, PathThatCannotBeOpenedIsNamed) {
  for (const std::string& path : {path_ + "/no/such/folder", ::testing::TempDir(), std::string()}) {
    EXPECT_FALSE(renderer_->saveFrameToPPM(path.c_str()));
    EXPECT_EQ(out_.Take(), "");
    EXPECT_EQ(err_.Take(), RendererLines({"Failed to open file: " + path}));
  }
}

TEST_F(PpmOnFakesTest, NegativeByteCountIsALengthErrorAndReadsNothing) {
  ASSERT_TRUE(InitializeAt(1 << 15, 1 << 14));
  EXPECT_THROW(static_cast<void>(renderer_->saveFrameToPPM(path_.c_str())), std::length_error);
  EXPECT_EQ(TakeCalls(), "");
}
