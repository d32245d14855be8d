#ifndef TEST_RENDERER_FAKE_RENDERER_TEST_H_
#define TEST_RENDERER_FAKE_RENDERER_TEST_H_

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <iterator>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "renderer/egl_renderer.h"
#include "test/fakes/graphics/fake_graphics.h"
#include "test/renderer/renderer_lines.h"
#include "test/support/log_capture.h"

inline constexpr char kVertexSource[] = "attribute vec3 a_position; attribute vec3 a_normal;\nuniform mat4 u_mvp;";
inline constexpr char kFragmentSource[] = "uniform vec3 u_lightDir;\nuniform vec3 u_objectColor;";

/// A renderer on the fake graphics libraries, whose calls and log a test reads. When the test is over, the fakes must
/// have nothing to object to and the renderer must have left nothing behind and closed nothing else.
///
/// Which calls come one after the other is for the transcripts of the built library to say, in test/plugin; tests here
/// look at what is held, said and drawn, and at calls only where their order or their arguments matter.
class FakeRendererTest : public ::testing::Test {
 protected:
  FakeRendererTest() { fake_graphics::Reset(); }
  ~FakeRendererTest() override {
    Destroy();
    EXPECT_EQ(out_.Take() + err_.Take(), "");
    EXPECT_THAT(fake_graphics::Alive(), ::testing::IsEmpty());
    EXPECT_EQ(OpenFiles(), open_files_);
    EXPECT_THAT(fake_graphics::PendingFaults(), ::testing::IsEmpty());
    EXPECT_THAT(fake_graphics::Complaints(), ::testing::IsEmpty());
  }

  /// The calls since the last look.
  static std::string TakeCalls() {
    const std::string calls = fake_graphics::Transcript();
    fake_graphics::ClearCalls();
    return calls;
  }

  /// The calls of these functions since the last look; the others are forgotten.
  static std::string TakeCallsOf(const std::set<std::string>& functions) {
    std::string calls;
    for (const fake_graphics::Call& call : fake_graphics::Calls()) {
      if (functions.count(call.function) != 0) calls += call.text + "\n";
    }
    fake_graphics::ClearCalls();
    return calls;
  }

  /// Forgets what has been called and logged so far.
  void ForgetCallsAndLog() {
    fake_graphics::ClearCalls();
    out_.Take();
    err_.Take();
  }

  /// The result of initialize; calls and log are kept.
  bool Initialize(bool window_mode = false) { return renderer_->initialize(640, 480, window_mode); }
  bool LoadShaders() { return renderer_->loadShaders(kVertexSource, kFragmentSource); }

  /// To the point where frames can be drawn.
  void MakeReady(bool window_mode = false) {
    ASSERT_TRUE(Initialize(window_mode));
    ASSERT_TRUE(LoadShaders());
    ForgetCallsAndLog();
  }

  /// Destroys the renderer; without a current context its GL deletions have nothing to act on.
  void Destroy() {
    std::optional<fake_graphics::Allowance> allowance;
    if (fake_graphics::CurrentContext().empty()) allowance.emplace(fake_graphics::CleanupDeletions());
    renderer_.reset();
  }

  static std::ptrdiff_t OpenFiles() { return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}); }

  LogCapture out_{stdout};
  LogCapture err_{stderr};
  const std::ptrdiff_t open_files_ = OpenFiles();
  std::optional<EGLRenderer> renderer_{std::in_place};
};

#endif  // TEST_RENDERER_FAKE_RENDERER_TEST_H_
