#ifndef TEST_FAULTS_RASTER_THREAD_H_
#define TEST_FAULTS_RASTER_THREAD_H_

#include <atomic>
#include <mutex>
#include <thread>

#include "test/fakes/fake_embedder.h"

/// The engine's raster thread: fetches frames of every texture there is, on and on, and copies the pixels as far as the
/// descriptor says that there are any.
///
/// Where a frame cannot be had for want of memory (a renderer whose size makes no sense) it goes on with the next.
class RasterThread {
 public:
  explicit RasterThread(const fakes::FakeEmbedder& embedder);
  ~RasterThread();
  RasterThread(const RasterThread&) = delete;
  RasterThread& operator=(const RasterThread&) = delete;

  /// Ends the thread; the second time nothing happens.
  void Stop();

  /// Runs `action` while frames are fetched as before and no descriptor is looked at: "dispose" frees the pixels
  /// whether or not the engine is copying them, which is the engine's affair.
  template <typename Action>
  void RunWhileNothingIsCopied(Action action) {
    const std::lock_guard<std::mutex> lock(copying_);
    action();
  }

  /// How many frames the thread has been given.
  long frames() const { return frames_; }

 private:
  void Run();
  void Fetch(int64_t id);

  const fakes::FakeEmbedder& embedder_;
  std::mutex copying_;
  std::atomic<bool> stop_{false};
  std::atomic<long> frames_{0};
  std::thread thread_;
};

#endif  // TEST_FAULTS_RASTER_THREAD_H_
