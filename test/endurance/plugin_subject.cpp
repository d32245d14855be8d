#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>

#include "host/embedder.h"
#include "host/plugin_library.h"
#include "host/viewer.h"
#include "test/endurance/subject.h"

namespace endurance {

namespace {

// How much has been written to standard error, which is a file here.
off_t ErrorBytes() {
  struct stat status = {};
  fstat(STDERR_FILENO, &status);
  return status.st_size;
}

class PluginSubject : public Subject {
 public:
  PluginSubject(const std::string& plugin_path, const std::string& model_path) : model_path_(model_path) {
    host::LoadPlugin(plugin_path)(embedder_.registrar());
  }

  void Open() override {
    const int64_t texture_id = viewer_.CreateTexture(kFrameSide, kFrameSide);
    embedder_.ShowTexture(texture_id, kFrameSide, kFrameSide);
    viewer_.LoadModel(model_path_);
  }

  void Close() override { viewer_.Dispose(); }

  void Start() override {
    error_bytes_ = ErrorBytes();
    frames_before_ = embedder_.frames_marked();
    viewer_.StartRendering();
  }

  void Stop() override { viewer_.StopRendering(); }

  // A render thread that fails says so on standard error, and draws nothing.
  bool WaitForFrames(int count) override {
    const uint64_t wanted = frames_before_ + static_cast<uint64_t>(count);
    std::unique_lock<std::mutex> lock(mutex_);
    while (embedder_.frames_marked() < wanted) {
      if (ErrorBytes() != error_bytes_) return false;
      frame_came_.wait_for(lock, std::chrono::milliseconds(10));
    }
    frames_before_ = wanted;
    return true;
  }

 private:
  const std::string model_path_;
  off_t error_bytes_ = 0;
  uint64_t frames_before_ = 0;  // those that have been waited for

  std::mutex mutex_;
  std::condition_variable frame_came_;  // on the raster thread

  host::Embedder embedder_{[this](const std::shared_ptr<const host::Frame>&) { frame_came_.notify_one(); }};
  host::Viewer viewer_{embedder_};
};

}  // namespace

std::unique_ptr<Subject> MakePluginSubject(const std::string& plugin_path, const std::string& model_path) {
  return std::make_unique<PluginSubject>(plugin_path, model_path);
}

}  // namespace endurance
