#ifndef TEST_FAULTS_RIG_H_
#define TEST_FAULTS_RIG_H_

#include <iostream>
#include <new>
#include <stdexcept>
#include <string>

#include "test/support/fake_graphics_fixture.h"

inline constexpr char kOutOfMemory[] = "throws std::bad_alloc";

/// As AnswerText has it, or the exception's type: "throws ...".
using Outcome = std::string;

/// A plug-in from nothing, as the fixtures of other tests are; here a test needs one for each point of failure.
class Rig : private FreshGraphics, public PluginTest {
 public:
  Rig() = default;
  ~Rig() override {
    DestroyPlugin();
    // Where a call that releases was the one to fail, what it was to release is not the plug-in's to release again.
    if (!a_release_failed) {
      EXPECT_THAT(fake_graphics::Alive(), ::testing::IsEmpty());
    }
    fake_graphics::Reset();
  }

  using CommandTest::Call;
  using CommandTest::DestroyPlugin;
  using CommandTest::Encode;
  using CommandTest::Fetch;
  using CommandTest::WaitForFrames;
  using PluginTest::CreateViewer;
  using PluginTest::SetSmallModel;
  using PluginTest::State;
  fakes::FakeEmbedder& embedder() { return embedder_; }
  std::string TakeErrors() { return err_.Take(); }

  // Delivers a message. Allocates nothing itself, so that this can be done under a fault; see OutcomeOf for the rest.
  const char* Deliver(const fakes::Bytes& message) {
    const char* thrown = nullptr;
    try {
      embedder_.Deliver("orbisk", message);
    } catch (const std::bad_alloc&) {
      thrown = kOutOfMemory;
    } catch (const std::invalid_argument&) {
      thrown = "throws std::invalid_argument";
    } catch (const std::out_of_range&) {
      thrown = "throws std::out_of_range";
    }
    return thrown;
  }
  // What the last message came to, of which Deliver has returned `thrown`.
  Outcome OutcomeOf(const char* thrown) const {
    return thrown == nullptr ? AnswerText::Of(embedder_.last_reply()) : thrown;
  }
  bool answered() const { return embedder_.last_reply().answered(); }

  void StartAndWaitForFrames() {
    ASSERT_EQ(Call("startRendering"), "success true");
    ASSERT_TRUE(WaitForFrames(embedder_.texture_ids().back(), 2));
  }

  // Stops the thread, which has the lock most of the time, and looks.
  void ExpectTheLockToBeFree() {
    ASSERT_EQ(Call("stopRendering"), "success true");
    if (State() != nullptr) {
      EXPECT_FALSE(IsLocked(State()->mutex));
    }
  }

  bool a_release_failed = false;

 private:
  void TestBody() override {}
};

/// Tells whoever reads the log how much there was to fail.
inline void ReportPoints(const std::string& kind, const std::string& what, size_t count) {
  std::cout << kind << ", " << what << ": " << count << " points of failure\n";
}

#endif  // TEST_FAULTS_RIG_H_
