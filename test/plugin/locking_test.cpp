// Which thread does what, what happens under the viewer's lock, and how long a command waits for it: the plug-in's
// source on fake graphics libraries, which look at the lock in the middle of every call.

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <map>
#include <set>

#include "test/model/glb_builder.h"
#include "test/plugin/fake_graphics_fixture.h"
#include "test/plugin/hand_clock.h"
#include "test/plugin/line_recorder.h"
#include "test/plugin/right_arguments.h"

using namespace std::chrono_literals;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

namespace {

const char* const kFrameFunctions[] = {
    "glBindFramebuffer",
    "glViewport",
    "glClearColor",
    "glClear",
    "glEnable",
    "glDisable",
    "glBlendFunc",
    "glUseProgram",
    "glUniformMatrix4fv",
    "glUniform3f",
    "glEnableVertexAttribArray",
    "glVertexAttribPointer",
    "glDrawElements",
    "glGetError",
    "glDisableVertexAttribArray",
    "glFlush",
    "glFinish",
    "glReadPixels",
};

// What "createTexture" calls to destroy one renderer and to set up the next.
const char* const kReplacementFunctions[] = {
    "glDeleteProgram",   "eglDestroyContext",        "eglDestroySurface", "eglTerminate",   "eglGetDisplay",
    "eglInitialize",     "eglChooseConfig",          "eglCreateContext",  "eglMakeCurrent", "eglCreatePbufferSurface",
    "glGenFramebuffers", "glCheckFramebufferStatus", "glCompileShader",   "glLinkProgram"};

class LockingTest : public FakeGraphicsPluginTest {
 protected:
  // Notes, for each of the functions, in what state of the lock and on which thread it is called from now on.
  template <typename Functions>
  void Watch(const Functions& functions) {
    for (const char* function : functions) {
      fake_graphics::SetHook(function, [this, function] { Note(function); });
    }
  }

  void Note(const std::string& what) {
    const bool locked = State() != nullptr && IsLocked(State()->mutex);
    const std::lock_guard<std::mutex> lock(notes_mutex_);
    (locked ? with_lock_ : without_lock_).insert(what);
    threads_[what].insert(std::this_thread::get_id());
  }

  std::mutex notes_mutex_;
  std::set<std::string> with_lock_;
  std::set<std::string> without_lock_;
  std::map<std::string, std::set<std::thread::id>> threads_;
  const std::thread::id platform_thread_ = std::this_thread::get_id();
};

TEST_F(LockingTest, AWholeFrameIsDrawnUnderTheLockOnTheRenderThreadAndAnnouncedWithoutIt) {
  const int64_t id = CreateViewer();
  Fetch(id);
  Watch(kFrameFunctions);
  embedder_.SetMarkHook([this](int64_t) { Note("mark"); });
  Call("startRendering");
  ASSERT_TRUE(WaitForFrames(id, 3));
  const std::thread::id render_thread = State()->render_thread->get_id();
  Call("stopRendering");

  EXPECT_EQ(without_lock_, std::set<std::string>{"mark"});
  EXPECT_EQ(with_lock_, std::set<std::string>(std::begin(kFrameFunctions), std::end(kFrameFunctions)));
  for (const auto& [function, threads] : threads_) {
    EXPECT_EQ(threads, std::set<std::thread::id>{render_thread}) << function;
  }
}

TEST_F(LockingTest, TheFirstContextStepOfTheRenderThreadIsUnderTheLock) {
  const int64_t id = CreateViewer();
  Watch(std::array{"eglMakeCurrent"});
  Call("startRendering");
  ASSERT_TRUE(WaitForFrames(id, 1));
  EXPECT_THAT(without_lock_, IsEmpty());
  EXPECT_EQ(threads_["eglMakeCurrent"], std::set<std::thread::id>{State()->render_thread->get_id()});
}

TEST_F(LockingTest, ARendererTakenAwayWhileTheThreadStartsIsNotTouched) {
  CreateViewer();
  std::unique_ptr<EGLRenderer> taken;
  {
    const std::lock_guard<std::mutex> lock(State()->mutex);
    Call("startRendering");  // takes no lock itself, or it would never return
    while (!State()->rendering) std::this_thread::yield();
    fake_graphics::ClearCalls();
    taken = std::move(State()->renderer);
  }
  ASSERT_TRUE(out_.WaitFor("[Orbisk] Waiting for renderer/model... renderer=NULL mesh_count=1\n"));
  Call("stopRendering");
  EXPECT_EQ(fake_graphics::Transcript(), "");
  State()->renderer = std::move(taken);
}

TEST_F(LockingTest, CreateTextureHoldsTheLockFromTheRendererToTheAnswer) {
  CreateViewer();
  Watch(kReplacementFunctions);
  embedder_.SetCallHook([this](const fakes::Call& call) { Note(call.function); });
  CreateTexture(32, 24);
  embedder_.SetCallHook(nullptr);
  EXPECT_THAT(without_lock_, IsEmpty());
  EXPECT_EQ(with_lock_.count("TextureRegistrarRegisterExternalTexture"), 1u);
  EXPECT_EQ(with_lock_.count("MessengerSendResponse"), 1u);
  EXPECT_EQ(with_lock_.size(), std::size(kReplacementFunctions) + 2);
  for (const auto& [function, threads] : threads_) {
    EXPECT_EQ(threads, std::set<std::thread::id>{platform_thread_}) << function;
  }
}

TEST_F(LockingTest, AFailedCreateTextureIsAnsweredUnderTheLockToo) {
  CreateViewer();
  embedder_.SetCallHook([this](const fakes::Call& call) { Note(call.function); });
  fake_graphics::FailCall("eglInitialize");
  EXPECT_EQ(Call("createTexture", Size(64, 48)), "error INIT_FAILED: Failed to initialize EGL renderer");
  fake_graphics::FailCompile("no");
  EXPECT_EQ(Call("createTexture", Size(64, 48)), "error SHADER_FAILED: Failed to load shaders");
  embedder_.SetCallHook(nullptr);
  EXPECT_EQ(with_lock_, std::set<std::string>{"MessengerSendResponse"});
  EXPECT_THAT(without_lock_, IsEmpty());
}

TEST_F(LockingTest, OnlyLoadModelCreateTextureAndSetRotationAnswerUnderTheLock) {
  const glb_builder::TemporaryFolder folder;
  CreateViewer();
  std::string answering;
  embedder_.SetCallHook([&](const fakes::Call& call) {
    if (call.function == "MessengerSendResponse") Note(answering);
  });
  answering = "loadModel that works";
  Call("loadModel", Map({{"modelPath", folder.Write("model.glb", glb_builder::Glb().Add(glb_builder::Triangle()))}}));
  std::set<std::string> others;
  const fake_graphics::Allowance allowance(fake_graphics::CleanupDeletions());
  for (const commands::Command& command : commands::All()) {
    if (command.name == "startRendering") continue;  // its thread would have the lock now and then
    answering = command.name;
    Call(command.name, Map(RightArguments(command)));
    others.insert(command.name);
  }
  embedder_.SetCallHook(nullptr);
  EXPECT_EQ(with_lock_, (std::set<std::string>{"createTexture", "loadModel", "loadModel that works", "setRotation"}));
  for (const std::string& command : with_lock_) others.erase(command);
  EXPECT_EQ(without_lock_, others);
}

TEST_F(LockingTest, DisposeJoinsAndUnregistersWithoutTheLockAndReleasesWithIt) {
  const int64_t id = CreateViewer();
  Fetch(id);
  Call("startRendering");
  ASSERT_TRUE(WaitForFrames(id, 1));
  embedder_.SetCallHook([this](const fakes::Call& call) {
    if (call.function != "TextureRegistrarMarkExternalTextureFrameAvailable") Note(call.function);
  });
  Watch(std::array{"eglMakeCurrent", "eglDestroyContext", "eglDestroySurface", "eglTerminate"});
  const fake_graphics::Allowance allowance(fake_graphics::CleanupDeletions());
  EXPECT_EQ(Call("dispose"), "success true") << "a join with the lock would never end";
  embedder_.SetCallHook(nullptr);
  EXPECT_EQ(with_lock_,
            (std::set<std::string>{"eglMakeCurrent", "eglDestroyContext", "eglDestroySurface", "eglTerminate"}));
  EXPECT_EQ(without_lock_,
            (std::set<std::string>{"TextureRegistrarUnregisterExternalTexture", "MessengerSendResponse"}));
}

TEST_F(LockingTest, AFrameRequestAfterDisposeDoesNotWaitForTheLock) {
  const int64_t id = CreateViewer();
  const fake_graphics::Allowance allowance(fake_graphics::CleanupDeletions());
  Call("dispose");
  const std::lock_guard<std::mutex> lock(State()->mutex);
  EXPECT_EQ(Fetch(id), nullptr);
}

TEST_F(LockingTest, AFrameRequestThatWaitsForTheLockWhileItsViewerIsDisposedGetsNothing) {
  const int64_t id = CreateViewer();
  std::unique_lock<std::mutex> lock(State()->mutex);
  const FlutterDesktopPixelBuffer not_fetched = {};
  const FlutterDesktopPixelBuffer* frame = &not_fetched;
  std::thread raster([&] { frame = Fetch(id); });
  while (State()->lock_waiters == 0) std::this_thread::yield();
  State()->disposed = true;
  lock.unlock();
  raster.join();
  EXPECT_EQ(frame, nullptr);
  EXPECT_EQ(State()->pixel_buffer, nullptr);
}

TEST_F(LockingTest, AFrameThatIsDrawnWhileItsThreadIsAskedToStopIsAnnounced) {
  const int64_t id = CreateViewer();
  fake_graphics::SetHook("glFinish", [] { State()->stop_requested = true; });
  plugin_under_test::RenderingThread(State());
  EXPECT_EQ(embedder_.texture(id).marks, 1);
}

TEST_F(LockingTest, FrameRequestsWhileThePluginEndsGiveAFrameOrNothing) {
  const int64_t id = CreateViewer();
  ASSERT_NE(Fetch(id), nullptr);
  std::atomic<bool> ended{false};
  std::thread raster([&] {
    while (!ended) Fetch(id);
    EXPECT_EQ(Fetch(id), nullptr);
  });
  DestroyPlugin();
  ended = true;
  raster.join();
}

TEST(ViewerPathTest, ClosingWaitsForThoseWhoAreAtTheViewer) {
  OrbiskState state;
  ViewerPath path(&state);
  std::atomic<bool> at_the_viewer{false};
  std::atomic<bool> closed{false};
  std::thread follower([&] {
    path.Follow([&](OrbiskState* viewer) {
      EXPECT_EQ(viewer, &state);
      at_the_viewer = true;
      // Nobody who comes now finds the viewer: it is being closed.
      while (path.Follow([](OrbiskState* later) { return later; }) != nullptr) std::this_thread::yield();
      for (int turn = 0; turn < 1000; ++turn) std::this_thread::yield();
      EXPECT_FALSE(closed);
      return nullptr;
    });
  });
  while (!at_the_viewer) std::this_thread::yield();
  path.Close();
  closed = true;
  follower.join();
}

// A render thread that runs goes on with the renderer that a failed "createTexture" leaves.
TEST_F(LockingTest, AFrameOfNoPixelsIsReadBackLikeAnyOther) {
  Fetch(CreateViewer());
  Call("startRendering");
  ASSERT_TRUE(WaitForFrames(7, 1));
  const fake_graphics::Allowance without_its_context(fake_graphics::FrameCalls());
  Call("createTexture", Size(0, 0));
  fake_graphics::ClearCalls();
  ASSERT_TRUE(WaitForFrames(7, 3)) << "two may have been under way";
  Call("stopRendering");
  EXPECT_THAT(fake_graphics::Transcript(), HasSubstr("\nglReadPixels(0, 0, 0, 0, GL_RGBA, GL_UNSIGNED_BYTE)\n"
                                                     "glGetError()"));
}

TEST_F(LockingTest, AFrameWithANegativeSideIsNotReadBack) {
  Fetch(CreateViewer());
  Call("startRendering");
  ASSERT_TRUE(WaitForFrames(7, 1));
  const fake_graphics::Allowance without_its_context(fake_graphics::FrameCalls());
  Call("createTexture", Size(-1, 0));
  fake_graphics::ClearCalls();
  ASSERT_TRUE(WaitForFrames(7, 3)) << "two may have been under way";
  Call("stopRendering");
  EXPECT_THAT(fake_graphics::Transcript(), HasSubstr("glFinish()"));
  EXPECT_THAT(fake_graphics::Transcript(), Not(HasSubstr("glReadPixels")));
}

TEST_F(LockingTest, AFrameUnderWayKeepsTheOldValuesAndTheNextOneHasAllNewOnes) {
  const int64_t id = CreateViewer();
  std::mutex gate_mutex;
  std::condition_variable gate;
  bool frame_begun = false;
  bool let_on = false;
  fake_graphics::SetHook("glClear", [&] {
    std::unique_lock<std::mutex> lock(gate_mutex);
    frame_begun = true;
    gate.notify_all();
    gate.wait(lock, [&] { return let_on; });
  });
  Call("startRendering");
  {
    std::unique_lock<std::mutex> lock(gate_mutex);
    gate.wait(lock, [&] { return frame_begun; });
  }
  // Lets the frame on as soon as the command is waiting for it.
  std::thread opener([&] {
    while (State()->lock_waiters == 0) std::this_thread::yield();
    const std::lock_guard<std::mutex> lock(gate_mutex);
    let_on = true;
    gate.notify_all();
  });
  Call("setQuaternion", QuaternionArguments(1, 0, 0, 0));
  opener.join();
  ASSERT_TRUE(WaitForFrames(id, 2)) << "the first may be the one that was under way";
  Call("stopRendering");

  const std::vector<fake_graphics::Draw> draws = fake_graphics::Draws();
  ASSERT_GE(draws.size(), 2u);
  const auto y_scale = [&](size_t frame) { return draws[frame].uniforms.at("u_mvp")[5]; };
  EXPECT_GT(y_scale(0), 0.0f);
  EXPECT_EQ(y_scale(1), -y_scale(0)) << "half a turn about X turns Y around";
}

// ---- Waiting for the lock ----------------------------------------------------------------------------------

// A render thread, on a clock of its own, that keeps the lock until somebody waits for it, and asks for it again as
// soon as it has let go of it.
class LongHoldTest : public LockingTest {
 protected:
  void StartRenderThread() {
    render_thread_ = std::thread([this] {
      HandClock clock;
      clock_ = &clock;
      clock.SetSleepHook([this](std::chrono::nanoseconds length) {
        if (length != 100ms) return;
        HoldBegins();
        Hold();
      });
      plugin_under_test::RenderingThread(State());
    });
  }

  void TearDown() override {
    over_ = true;
    State()->stop_requested = true;
    render_thread_.join();
    LockingTest::TearDown();
  }

  // On the render thread, with the lock.
  void HoldBegins() { begun_while_waited_for_ += State()->lock_waiters != 0; }
  void Hold() {
    held_ = true;
    while (State()->lock_waiters == 0 && !over_) std::this_thread::yield();
    held_ = false;
  }

  // Runs `action`, which waits for the lock, again and again on this thread, each time while the lock is held. The
  // render thread may not have it once more before it.
  template <typename Action>
  void ExpectToBeLetInNext(Action action) {
    for (int time = 0; time < 100; ++time) {
      while (!held_) std::this_thread::yield();
      action();
      ASSERT_EQ(begun_while_waited_for_, 0) << "time " << time;
    }
  }

  HandClock* clock_ = nullptr;  // the render thread's
  std::atomic<int> begun_while_waited_for_{0};
  std::atomic<bool> held_{false};
  std::atomic<bool> over_{false};
  std::thread render_thread_;
};

TEST_F(LongHoldTest, ACommandWaitsForTheIdleWaitUnderWayAndNoOther) {
  CreateTexture();
  StartRenderThread();
  ExpectToBeLetInNext([this] { ASSERT_EQ(Call("setQuaternion", QuaternionArguments(0, 0, 0, 1)), "success true"); });
}

// Every frame takes longer than the frame interval, so that none is followed by a sleep.
class SlowFrameTest : public LongHoldTest {
 protected:
  SlowFrameTest() {
    id_ = CreateViewer();
    Fetch(id_);
    fake_graphics::SetHook("glClear", [this] { HoldBegins(); });
    fake_graphics::SetHook("glFinish", [this] {
      Hold();
      clock_->Advance(45ms);
    });
    StartRenderThread();
  }

  int64_t id_;
};

TEST_F(SlowFrameTest, ACommandWaitsForTheFrameUnderWayAndNoOther) {
  ExpectToBeLetInNext([this] { ASSERT_EQ(Call("setQuaternion", QuaternionArguments(0, 0, 0, 1)), "success true"); });
}

TEST_F(SlowFrameTest, AFrameRequestWaitsForTheFrameUnderWayAndNoOther) {
  ExpectToBeLetInNext([this] { ASSERT_NE(Fetch(id_), nullptr); });
}

// ---- Lines -------------------------------------------------------------------------------------------------

class LineTest : public LockingTest {
 protected:
  // What `noted` makes of each of the plug-in front's lines, at the moment when `action` makes it write that line.
  template <typename Noted, typename Action>
  static std::vector<std::string> Lines(Noted noted, Action action) {
    const std::string tag = "[Orbisk] ";
    std::vector<std::string> lines;
    line_recorder::Start([&](const std::string& text) {
      if (text.compare(0, tag.size(), tag) != 0) return;
      lines.push_back(noted(text.substr(tag.size(), text.find('\n') - tag.size())));
    });
    action();
    line_recorder::Stop();
    return lines;
  }

  static std::string WithLock(const std::string& line) {
    return (IsLocked(State()->mutex) ? "locked: " : "free: ") + line;
  }
  template <typename Action>
  static std::vector<std::string> LinesWithLock(Action action) {
    return Lines(WithLock, action);
  }

  static std::string WithRendering(const std::string& line) {
    return (State()->rendering ? "rendering: " : "not: ") + line;
  }

  // Runs the body of the render thread on this thread, on a clock of its own.
  static void RunRenderThread() {
    const HandClock clock;
    plugin_under_test::RenderingThread(State());
  }
};

const std::string kFreeBar = "free: " + kBar;
const std::string kLockedBar = "locked: " + kBar;

TEST_F(LineTest, CreateTextureWritesUnderTheLockFromTheRendererOn) {
  CreateViewer();
  EXPECT_THAT(LinesWithLock([this] { CreateTexture(32, 24); }),
              ElementsAre(kFreeBar, "free: CreateTexture called", kFreeBar, "free: Requested texture size: 32x24",
                          "free: Reusing existing viewer state", "locked: Creating EGL renderer...",
                          "locked: EGL renderer initialized successfully", "locked: Loading shaders...",
                          "locked: Shaders loaded successfully", "locked: Context released from main thread",
                          "locked: Creating Flutter texture variant...", "locked: Registering texture with Flutter...",
                          kLockedBar, "locked: Texture created with ID: 8", kLockedBar));
}

TEST_F(LineTest, LoadModelWritesUnderTheLockFromTheFirstAttemptOn) {
  const glb_builder::TemporaryFolder folder;
  const std::string path = folder.Write("model.glb", glb_builder::Glb().Add(glb_builder::Triangle()));
  CreateViewer();
  EXPECT_THAT(LinesWithLock([&] {
                Call("loadModel", Map({{"modelPath", path}}));
              }),
              ElementsAre(kFreeBar, "free: LoadModel called", kFreeBar, "free: Model path (original): " + path,
                          "locked: Loading GLB model...", "locked: Trying path: " + path,
                          "locked: Successfully loaded from: " + path, kLockedBar, "locked: Model loaded successfully!",
                          "locked: Total meshes: 1", "locked:   Mesh 0: vertices=3 triangles=1 color=(0.8,0.8,0.8)",
                          "locked: Total vertices: 3", "locked: Total triangles: 1",
                          "locked: GLB loader log: Found 1 meshes", kLockedBar));
}

TEST_F(LineTest, AFailedLoadModelWritesUnderTheLockToo) {
  CreateViewer();
  EXPECT_THAT(
      LinesWithLock([this] {
        Call("loadModel", Map({{"modelPath", "none"}}));
      }),
      ElementsAre(kFreeBar, "free: LoadModel called", kFreeBar, "free: Model path (original): none",
                  "locked: Loading GLB model...", "locked: Trying path: none",
                  "locked: Trying path: data/flutter_assets/none", "locked: ERROR: Failed to load model from any path",
                  "locked: Tried paths:", "locked:   - none", "locked:   - data/flutter_assets/none",
                  "locked: GLB loader log: fail: read file"));
}

TEST_F(LineTest, DisposeWritesUnderTheLockOnlyWhileItReleases) {
  CreateViewer();
  const fake_graphics::Allowance allowance(fake_graphics::CleanupDeletions());
  EXPECT_THAT(
      LinesWithLock([this] { Call("dispose"); }),
      ElementsAre("free: Dispose called", "free: Setting disposal flag...", "free: Stopping rendering thread...",
                  "free: Rendering thread stopped", "free: Unregistering texture 7",
                  "locked: Cleaning up pixel buffer...", "locked: Cleaning up EGL resources...",
                  "locked: Cleaning up model data...", "free: Disposed (state and texture kept alive for safety)"));
}

TEST_F(LineTest, TheCommandsThatSetNumbersWriteWithoutTheLock) {
  CreateViewer();
  EXPECT_THAT(LinesWithLock([this] {
                Call("setCameraDistance", Map({{"distance", 2.0}}));
                Call("setModelScale", Map({{"scale", 3.0}}));
                Call("setBaseRotation", AngleArguments(1, 2, 3));
                Call("setBaseQuaternion", QuaternionArguments(0, 0, 0, 1));
              }),
              ElementsAre("free: Camera distance set to: 2", "free: Model scale set to: 3",
                          "free: Base rotation set to: roll=1\xC2\xB0 pitch=2\xC2\xB0 yaw=3\xC2\xB0",
                          "free: Base quaternion set to: x=0 y=0 z=0 w=1"));
}

TEST_F(LineTest, TheRenderThreadTellsWhatItWaitsForUnderTheLock) {
  CreateTexture();
  const auto stop_at_the_wait = [](const std::string& line) {
    State()->stop_requested = line.rfind("Waiting", 0) == 0;
    return WithLock(line);
  };
  EXPECT_THAT(Lines(stop_at_the_wait, RunRenderThread),
              ElementsAre(kFreeBar, "free: Rendering thread STARTED", kFreeBar,
                          EndsWith("EGL context made current in rendering thread"),
                          "locked: Waiting for renderer/model... renderer=OK mesh_count=0", kFreeBar,
                          "free: Rendering thread STOPPED (rendered 1 frames)", kFreeBar));
}

TEST_F(LineTest, TheRenderThreadWarnsOfAFrameThatCannotBeAnnouncedWithoutTheLock) {
  CreateViewer();
  State()->texture_id = -1;
  fake_graphics::SetHook("glFinish", [] { State()->stop_requested = true; });
  EXPECT_THAT(LinesWithLock(RunRenderThread),
              Contains("free: WARNING: Cannot mark texture - registrar=OK texture_id=-1"));
}

TEST_F(LineTest, TheRenderThreadCountsAsRenderingBetweenItsStartedAndItsStoppedLines) {
  CreateViewer();
  fake_graphics::SetHook("glFinish", [] { State()->stop_requested = true; });
  EXPECT_THAT(Lines(WithRendering, RunRenderThread),
              ElementsAre("not: " + kBar, "not: Rendering thread STARTED", "not: " + kBar,
                          "rendering: EGL context made current in rendering thread", "not: " + kBar,
                          "not: Rendering thread STOPPED (rendered 1 frames)", "not: " + kBar));
}

TEST_F(LineTest, ARenderThreadWithoutItsContextCountsAsRenderingUntilItHasSaidSo) {
  CreateViewer();
  fake_graphics::FailCall("eglMakeCurrent");
  EXPECT_THAT(Lines(WithRendering, RunRenderThread),
              ElementsAre("not: " + kBar, "not: Rendering thread STARTED", "not: " + kBar,
                          "rendering: ERROR: Failed to make EGL context current in rendering thread!"));
  EXPECT_FALSE(State()->rendering);
}

}  // namespace
