// Orientation commands: what one costs from the message's bytes to the answer's, and how long one waits while frames
// are drawn. The frames are those of the fake graphics libraries, which take as long as they are told to.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <string>
#include <thread>

#include "bench/lean_embedder.h"
#include "fake_graphics.h"
#include "test/support/files.h"
#include "test/support/glb_builder.h"
#include "test/support/operator_new.h"

using namespace std::chrono_literals;
using flutter::EncodableMap;
using flutter::EncodableValue;
using Clock = std::chrono::steady_clock;

namespace {

// A viewer of a small model, with pixels to read frames into.
class Viewer {
 public:
  Viewer() {
    std::freopen("/dev/null", "w", stderr);
    fake_graphics::Reset();
    lean_embedder::Start();
    const std::string model = folder_.Write("model.glb", glb_builder::Glb().Add(glb_builder::Triangle()));
    good_ = lean_embedder::Call("createTexture", EncodableMap{{"width", 64}, {"height", 48}}) &&
            lean_embedder::Call("loadModel", EncodableMap{{"modelPath", model}});
    lean_embedder::FetchFrame();
  }
  ~Viewer() {
    lean_embedder::Call("dispose");
    lean_embedder::Stop();
  }
  bool good() const { return good_; }

 private:
  const TemporaryFolder folder_;
  bool good_ = false;
};

const lean_embedder::Bytes& SetQuaternion() {
  static const lean_embedder::Bytes message =
      lean_embedder::EncodeCall("setQuaternion", EncodableMap{{"x", 0.1}, {"y", 0.2}, {"z", 0.3}, {"w", 0.9}});
  return message;
}
const lean_embedder::Bytes kTrue = {0, 1};  // an envelope of success

void OneCommand(benchmark::State& state) {
  const Viewer viewer;
  lean_embedder::Deliver(SetQuaternion());
  if (!viewer.good() || lean_embedder::Reply() != kTrue) return state.SkipWithError("another answer");
  const long before = operator_new::CountOnThisThread();
  lean_embedder::Deliver(SetQuaternion());
  state.counters["allocations"] = static_cast<double>(operator_new::CountOnThisThread() - before);
  for (auto _ : state) lean_embedder::Deliver(SetQuaternion());
}
BENCHMARK(OneCommand)->Name("command/setQuaternion, bytes to bytes/orbisk");

// Two threads that leave the others no processor of their own.
class BusyThreads {
 public:
  BusyThreads() {
    for (std::thread& thread : threads_) {
      thread = std::thread([this] {
        while (!done_) {
        }
      });
    }
  }
  ~BusyThreads() {
    done_ = true;
    for (std::thread& thread : threads_) thread.join();
  }

 private:
  std::atomic<bool> done_{false};
  std::array<std::thread, 2> threads_;
};

// For three seconds a thousand commands a second, less those that a platform thread has no time for that one has made
// wait.
void Waiting(benchmark::State& state) {
  const std::chrono::milliseconds frame(state.range(0));
  const Viewer viewer;
  fake_graphics::SetHook("glFinish", [frame] { std::this_thread::sleep_for(frame); });
  std::vector<double> frames_waited;
  for (auto _ : state) {
    const BusyThreads busy;
    if (!lean_embedder::Call("startRendering")) return state.SkipWithError("no frames");
    const long frames_before = lean_embedder::g_frames;
    auto due = Clock::now();
    for (const auto end = due + 3s; due < end;) {
      due = std::max(due + 1ms, Clock::now());
      std::this_thread::sleep_until(due);
      const auto delivered = Clock::now();
      lean_embedder::Deliver(SetQuaternion());
      frames_waited.push_back(std::chrono::duration<double>(Clock::now() - delivered) / frame);
      if (lean_embedder::Reply() != kTrue) return state.SkipWithError("another answer");
    }
    if (lean_embedder::g_frames == frames_before) return state.SkipWithError("no frames");
    lean_embedder::Call("stopRendering");
  }
  fake_graphics::SetHook("glFinish", nullptr);
  std::sort(frames_waited.begin(), frames_waited.end());
  const auto percentile = [&](double part) {
    return frames_waited[static_cast<size_t>(part * static_cast<double>(frames_waited.size() - 1))];
  };
  state.counters["median_frames"] = percentile(0.5);
  state.counters["p99_frames"] = percentile(0.99);
  state.counters["worst_frames"] = frames_waited.back();
  state.counters["worst_ms_past_1.1_frames"] = (frames_waited.back() - 1.1) * static_cast<double>(frame.count());
}

const bool g_registered = [] {
  for (const long frame : {5, 20, 45}) {
    const std::string name = "wait/1000 commands a second, frames of " + std::to_string(frame) + " ms/orbisk";
    benchmark::RegisterBenchmark(name.c_str(), Waiting)->Arg(frame)->Iterations(1)->UseRealTime();
  }
  return true;
}();

}  // namespace
