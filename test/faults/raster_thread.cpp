#include "test/faults/raster_thread.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <vector>

#include "test/faults/sanitizers.h"

RasterThread::RasterThread(const fakes::FakeEmbedder& embedder) : embedder_(embedder), thread_([this] { Run(); }) {}

RasterThread::~RasterThread() { Stop(); }

void RasterThread::Stop() {
  stop_ = true;
  if (thread_.joinable()) thread_.join();
}

void RasterThread::Run() {
  for (size_t turn = 0; !stop_; ++turn) {
    const std::vector<int64_t> ids = embedder_.texture_ids();
    if (!ids.empty()) Fetch(ids[turn % ids.size()]);
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
}

void RasterThread::Fetch(int64_t id) {
  const std::unique_lock<std::mutex> copying(copying_, std::try_to_lock);
  try {
    const FlutterDesktopPixelBuffer* frame = embedder_.FetchFrame(id, 64, 48);
    if (frame == nullptr) return;
    ++frames_;
    // The next frame may be written while the engine copies this one: there is one buffer, by design. For
    // ThreadSanitizer that is a race, and a true one, so it gets to see the descriptor alone.
    if (!copying) return;
    const size_t size = frame->width * frame->height * 4;
    if (frame->buffer == nullptr) std::abort();
    if (!kThreadSanitizer) const std::vector<uint8_t> copy(frame->buffer, frame->buffer + size);
  } catch (const std::bad_alloc&) {
  }
}
