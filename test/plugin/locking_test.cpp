// Which thread does what, and what happens under the viewer's lock: the plug-in on fake graphics libraries,
// which look at the lock in the middle of every call. How long somebody waits for the lock is in lock_waiting_test.cpp,
// what is written under it in lines_under_lock_test.cpp.

#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <thread>

#include "test/plugin/right_arguments.h"
#include "test/support/fake_graphics_fixture.h"
#include "test/support/files.h"
#include "test/support/glb_builder.h"

using ::testing::IsEmpty;

namespace {

// What "createTexture" calls to destroy one renderer and to set up the next.
const std::vector<std::string> kReplacementFunctions = {
    "glDeleteProgram",   "eglDestroyContext",        "eglDestroySurface", "eglTerminate",   "eglGetDisplay",
    "eglInitialize",     "eglChooseConfig",          "eglCreateContext",  "eglMakeCurrent", "eglCreatePbufferSurface",
    "glGenFramebuffers", "glCheckFramebufferStatus", "glCompileShader",   "glLinkProgram"};

class LockingTest : public FakeGraphicsPluginTest {
 protected:
  // Notes, for each of the functions, in what state of the lock and on which thread it is called from now on.
  void Watch(const std::vector<std::string>& functions) {
    for (const std::string& function : functions) {
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
  const std::vector<std::string> frame_functions = fake_graphics::FrameCalls();
  Watch(frame_functions);
  embedder_.SetMarkHook([this](int64_t) { Note("mark"); });
  Call("startRendering");
  ASSERT_TRUE(WaitForFrames(id, 3));
  const std::thread::id render_thread = State()->render_thread->get_id();
  Call("stopRendering");

  EXPECT_EQ(without_lock_, std::set<std::string>{"mark"});
  EXPECT_EQ(with_lock_, std::set<std::string>(frame_functions.begin(), frame_functions.end()));
  for (const auto& [function, threads] : threads_) {
    EXPECT_EQ(threads, std::set<std::thread::id>{render_thread}) << function;
  }
}

TEST_F(LockingTest, TheFirstContextStepOfTheRenderThreadIsUnderTheLock) {
  const int64_t id = CreateViewer();
  Watch({"eglMakeCurrent"});
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
  const TemporaryFolder folder;
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
  Watch({"eglMakeCurrent", "eglDestroyContext", "eglDestroySurface", "eglTerminate"});
  const fake_graphics::Allowance allowance(fake_graphics::CleanupDeletions());
  EXPECT_EQ(Call("dispose"), "success true") << "a join with the lock would never end";
  embedder_.SetCallHook(nullptr);
  EXPECT_EQ(with_lock_,
            (std::set<std::string>{"eglMakeCurrent", "eglDestroyContext", "eglDestroySurface", "eglTerminate"}));
  EXPECT_EQ(without_lock_,
            (std::set<std::string>{"TextureRegistrarUnregisterExternalTexture", "MessengerSendResponse"}));
}

}  // namespace
