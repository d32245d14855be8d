// Which thread does what, what happens under the viewer's lock, and how long a command waits for it: the plug-in's
// source on fake graphics libraries, which look at the lock in the middle of every call.

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <map>
#include <set>

#include "fake_graphics.h"
#include "test/model/glb_builder.h"
#include "test/plugin/source_fixture.h"

using namespace std::chrono_literals;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

namespace {

const char* const kFrameFunctions[] = {
    "glBindFramebuffer",         "glViewport",           "glClearColor",
    "glClear",                   "glEnable",             "glDisable",
    "glBlendFunc",               "glUseProgram",         "glUniformMatrix4fv",
    "glUniform3f",               "glEnableVertexAttribArray", "glVertexAttribPointer",
    "glDrawElements",            "glGetError",           "glDisableVertexAttribArray",
    "glFlush",                   "glFinish",             "glReadPixels"};

// What "createTexture" calls to destroy one renderer and to set up the next.
const char* const kReplacementFunctions[] = {
    "glDeleteProgram", "eglDestroyContext",       "eglDestroySurface", "eglTerminate",   "eglGetDisplay",
    "eglInitialize",   "eglChooseConfig",         "eglCreateContext",  "eglMakeCurrent", "eglCreatePbufferSurface",
    "glGenFramebuffers", "glCheckFramebufferStatus", "glCompileShader",   "glLinkProgram"};

struct FreshGraphics {
  FreshGraphics() { fake_graphics::Reset(); }
};

class LockingTest : private FreshGraphics, public PluginTest {
 protected:
  ~LockingTest() override {
    const fake_graphics::Allowance allowance(fake_graphics::CleanupDeletions());
    DestroyPlugin();
    fake_graphics::Reset();
  }

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
  glb_builder::TemporaryFolder folder;
  const std::string path = folder.Write("model.glb", glb_builder::Glb().Add(glb_builder::Triangle()));
  CreateViewer();
  const std::pair<const char*, EncodableValue> kCommands[] = {
      {"loadModel", Map({{"modelPath", path}})},
      {"loadModel", Map({{"modelPath", "no such file"}})},
      {"setRotation", AngleArguments(1, 2, 3)},
      {"setBaseRotation", AngleArguments(1, 2, 3)},
      {"setQuaternion", QuaternionArguments(0, 0, 0, 1)},
      {"setBaseQuaternion", QuaternionArguments(0, 0, 0, 1)},
      {"setCameraDistance", Map({{"distance", 1.0}})},
      {"setModelScale", Map({{"scale", 1.0}})},
      {"stopRendering", EncodableValue()},
      {"dispose", EncodableValue()}};
  std::string command;
  embedder_.SetCallHook([&](const fakes::Call& call) {
    if (call.function == "MessengerSendResponse") Note(command);
  });
  for (const auto& [name, arguments] : kCommands) {
    command = name;
    SetSmallModel();
    Call(name, arguments);
  }
  embedder_.SetCallHook(nullptr);
  EXPECT_EQ(with_lock_, (std::set<std::string>{"loadModel", "setRotation"}));
  EXPECT_EQ(without_lock_.size(), 7u);
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
  ASSERT_TRUE(WaitForFrames(7, 2));
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
  ASSERT_TRUE(WaitForFrames(7, 2));
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

// Every frame takes `kSlowFrame`, more than the frame interval, and two threads keep the processors busy.
class SlowFrameTest : public LockingTest {
 protected:
  static constexpr auto kSlowFrame = 45ms;
  static constexpr int kMostFrames = 2;  // one under way, one that began before the waiter was seen

  SlowFrameTest() {
    id_ = CreateViewer();
    Fetch(id_);
    fake_graphics::SetHook("glClear", [this] { ++frames_begun_; });
    fake_graphics::SetHook("glFinish", [] { std::this_thread::sleep_for(kSlowFrame); });
    for (std::thread& thread : busy_) {
      thread = std::thread([this] {
        while (!done_) {
        }
      });
    }
    Call("startRendering");
    EXPECT_TRUE(WaitForFrames(id_, 1));
  }
  ~SlowFrameTest() override {
    done_ = true;
    for (std::thread& thread : busy_) thread.join();
    Call("stopRendering");
  }

  // Returns when a frame has just begun, so that what the caller does next has to wait for it.
  void WaitForFrameToBegin() const {
    const int frames_before = frames_begun_;
    while (frames_begun_ == frames_before) std::this_thread::yield();
  }

  int64_t id_;
  std::atomic<int> frames_begun_{0};
  std::atomic<bool> done_{false};
  std::array<std::thread, 2> busy_;
};

TEST_F(SlowFrameTest, ACommandWaitsForAtMostTwoFrames) {
  for (int command = 0; command < 300; ++command) {
    WaitForFrameToBegin();
    const int frames_before = frames_begun_;
    ASSERT_EQ(Call("setQuaternion", QuaternionArguments(0, 0, 0, 1)), "success true");
    ASSERT_LE(frames_begun_ - frames_before, kMostFrames) << "command " << command;
  }
}

TEST_F(SlowFrameTest, AFrameRequestWaitsForAtMostTwoFrames) {
  std::thread raster([this] {
    for (int request = 0; request < 300; ++request) {
      WaitForFrameToBegin();
      const int frames_before = frames_begun_;
      ASSERT_NE(Fetch(id_), nullptr);
      ASSERT_LE(frames_begun_ - frames_before, kMostFrames) << "request " << request;
    }
  });
  raster.join();
}

}  // namespace
