#ifndef TEST_PLUGIN_TRANSCRIPT_FIXTURE_H_
#define TEST_PLUGIN_TRANSCRIPT_FIXTURE_H_

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

#include "fake_graphics.h"
#include "test/plugin/line_recorder.h"
#include "test/plugin/sleep_recorder.h"
#include "test/plugin/transcript_texts.h"
#include "test/support/built_library.h"
#include "test/support/files.h"
#include "test/support/glb_builder.h"
#include "test/support/plugin_fixture.h"

// Stops the render thread after each frame that it announces, until the test lets it on.
class FrameGate {
 public:
  void Pass() {
    std::unique_lock<std::mutex> lock(mutex_);
    ++frames_;
    changed_.notify_all();
    changed_.wait(lock, [this] { return open_ || allowed_ > 0; });
    if (!open_) --allowed_;
  }
  // Waits until the thread stands after frame number `count`.
  void WaitForFrame(int count) {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [&] { return frames_ >= count && allowed_ == 0; });
  }
  void LetOn(int frames) {
    const std::lock_guard<std::mutex> lock(mutex_);
    allowed_ += frames;
    changed_.notify_all();
  }
  void Open() {
    const std::lock_guard<std::mutex> lock(mutex_);
    open_ = true;
    changed_.notify_all();
  }
  void Close() {
    const std::lock_guard<std::mutex> lock(mutex_);
    open_ = false;
    frames_ = 0;
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  int frames_ = 0;
  int allowed_ = 0;
  bool open_ = false;
};

struct FreshRecording {
  FreshRecording() {
    fake_graphics::Reset();
    line_recorder::Start();
    sleep_recorder::SetHook(std::chrono::milliseconds(500), [] { fake_graphics::AppendLine("sleep 500 ms"); });
  }
  ~FreshRecording() {
    sleep_recorder::SetHook({}, nullptr);
    line_recorder::Stop();
  }
};

// The built library, registered with a fake embedder whose calls stand among those of the graphics libraries.
class TranscriptTest : private FreshRecording, public CommandTest {
 protected:
  TranscriptTest() : CommandTest(LoadedRegistration()) {
    embedder_.SetCallHook([](const fakes::Call& call) { fake_graphics::AppendLine(call.text); });
    embedder_.SetMarkHook([this](int64_t) { gate_.Pass(); });
    gate_.Open();
    fake_graphics::ClearCalls();
  }
  ~TranscriptTest() override {
    const fake_graphics::Allowance allowance(fake_graphics::CleanupDeletions());
    DestroyPlugin();
    EXPECT_THAT(fake_graphics::Complaints(), ::testing::IsEmpty());
    EXPECT_THAT(fake_graphics::Alive(), ::testing::IsEmpty());
    EXPECT_THAT(fake_graphics::PendingFaults(), ::testing::IsEmpty());
  }

  // A viewer with TwoMeshes() loaded, its transcript forgotten: two messages.
  int64_t CreateViewer() {
    const int64_t id = CreateTexture(4, 2);
    EXPECT_EQ(Call("loadModel", Map({{"modelPath", WriteModel(transcript::TwoMeshes())}})), "success true");
    fake_graphics::ClearCalls();
    return id;
  }

  // What the test's own thread has called and written since the last look; what others did is forgotten.
  std::string TakePlatformTranscript() {
    std::string text = TranscriptOf([this](std::thread::id thread) { return thread == platform_thread_; });
    fake_graphics::ClearCalls();
    return text;
  }

  // The same of all other threads, of which there is one at a time; nothing is forgotten.
  std::string RenderTranscript() const {
    return TranscriptOf([this](std::thread::id thread) { return thread != platform_thread_; });
  }

  // Starts rendering; the thread has announced its first frame and stands there until `gate_` lets it on.
  void StartAndHoldTheFirstFrame() {
    gate_.Close();
    Call("startRendering");
    gate_.WaitForFrame(1);
  }

  std::string WriteModel(const glb_builder::Glb& glb) { return folder_.Write("model.glb", glb); }

  TemporaryFolder folder_;
  FrameGate gate_;

 private:
  template <typename Predicate>
  static std::string TranscriptOf(Predicate wanted) {
    std::string text;
    for (const fake_graphics::Call& call : fake_graphics::Calls()) {
      if (wanted(call.thread)) text += call.text + "\n";
    }
    return text;
  }

  const std::thread::id platform_thread_ = std::this_thread::get_id();
};

#endif  // TEST_PLUGIN_TRANSCRIPT_FIXTURE_H_
