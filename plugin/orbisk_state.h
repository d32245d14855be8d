#ifndef PLUGIN_ORBISK_STATE_H_
#define PLUGIN_ORBISK_STATE_H_

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>

#include "flutter/texture_registrar.h"
#include "flutter_desktop.h"
#include "model/glb_loader.h"
#include "renderer/egl_renderer.h"

struct OrbiskState;

/// The way from a registered texture to the viewer. The engine may take it for as long as the texture is registered,
/// and a moment longer, because unregistering does not wait: longer than the viewer may live. So textures keep it, and
/// whoever destroys the viewer closes it first.
class ViewerPath {
 public:
  explicit ViewerPath(OrbiskState* state) : state_(state) {}

  /// Calls `use` with the viewer, or with null once the path is closed.
  ///
  /// Thread   any; several at once.
  template <typename Use>
  auto Follow(Use use) {
    const Following following(followers_);
    return use(state_.load());
  }

  /// Returns when nobody is at the viewer any more by this path.
  void Close() {
    state_ = nullptr;
    while (followers_ > 0) std::this_thread::sleep_for(std::chrono::microseconds(50));
  }

 private:
  struct Following {
    explicit Following(std::atomic<int>& counted) : followers(counted) { ++followers; }
    ~Following() { --followers; }
    std::atomic<int>& followers;
  };

  std::atomic<OrbiskState*> state_;
  std::atomic<int> followers_{0};
};

/// The one viewer: all that belongs to the texture on show. Commands (platform thread), the pixel-buffer callback
/// (raster thread) and the render thread share it.
struct OrbiskState {
  // Atomic: the render thread reads it without the lock. -1: no texture is registered.
  std::atomic<int64_t> texture_id{-1};

  // Guarded by `mutex`.
  std::unique_ptr<EGLRenderer> renderer;
  // Outlives "dispose", and the state: the engine may still ask it for a frame.
  std::unique_ptr<flutter::TextureVariant> texture;
  std::shared_ptr<ViewerPath> texture_path;                       // what `texture` asks
  std::unique_ptr<FlutterDesktopPixelBuffer> spare_pixel_buffer;  // never filled
  // What the engine copies frames from. `buffer` is an array of `width * height * 4` bytes made with new[]; only
  // "dispose" takes it back, so that a destroyed state takes no pixels away from an engine that still copies them.
  std::unique_ptr<FlutterDesktopPixelBuffer> pixel_buffer;
  // What the last "dispose" took back, whole: the engine may be copying from it. The next one frees it.
  std::unique_ptr<FlutterDesktopPixelBuffer> retired_pixel_buffer;
  std::unique_ptr<const uint8_t[]> retired_pixels;
  GLBModel model;

  // Current orientation: the render thread turns the model by the quaternion. Guarded by `mutex`.
  float quat_x = 0.0f;
  float quat_y = 0.0f;
  float quat_z = 0.0f;
  float quat_w = 1.0f;
  // The same in degrees, as received or derived; kept, read by nobody.
  float yaw = 0.0f;
  float pitch = 0.0f;
  float roll = 0.0f;

  // Reference orientation, in degrees. Guarded by `mutex`.
  float base_yaw = 0.0f;
  float base_pitch = 0.0f;
  float base_roll = 0.0f;

  // View. Guarded by `mutex`.
  float camera_distance = 3.5f;  // view units; a fitted model is 1.5 long before model_scale
  float model_scale = 1.2f;      // on top of the automatic fit

  // Platform thread only.
  std::unique_ptr<std::thread> render_thread;

  // Atomic: read without the lock at the top of every frame.
  std::atomic<bool> stop_requested{false};
  std::atomic<bool> rendering{false};  // written by the render thread alone

  std::mutex mutex;

  // Atomic. True after "dispose": no frames are handed out and the render thread ends.
  std::atomic<bool> disposed{false};

  // Kept by StateLock: how many threads wait for `mutex`, and how many have been let in so far.
  std::atomic<unsigned> lock_waiters{0};
  std::atomic<unsigned> lock_admissions{0};
};

/// Holds the state's mutex, as everybody but the render thread takes it: while it waits, the render thread can see
/// it waiting.
class StateLock {
 public:
  explicit StateLock(OrbiskState& state) : lock_(state.mutex, std::defer_lock) {
    const Waiting waiting(state);
    lock_.lock();
  }

 private:
  struct Waiting {
    explicit Waiting(OrbiskState& waited_for) : state(waited_for) { ++state.lock_waiters; }
    ~Waiting() {
      ++state.lock_admissions;
      --state.lock_waiters;
    }
    OrbiskState& state;
  };

  std::unique_lock<std::mutex> lock_;
};

/// Lets the threads in that are waiting for the state's mutex now; returns at once when there are none.
///
/// The mutex is not fair: the render thread, which unlocks it and locks it again at once, would keep winning
/// against a command for many frames. It waits only for as many admissions as there are waiters, so a flood of
/// commands cannot hold it up either.
///
/// Thread   the render thread, without the mutex.
inline void LetWaitersIn(const OrbiskState& state) {
  const unsigned waiters = state.lock_waiters;
  const unsigned admissions_before = state.lock_admissions;
  while (state.lock_waiters > 0 && state.lock_admissions - admissions_before < waiters) {
    std::this_thread::sleep_for(std::chrono::microseconds(50));
  }
}

#endif  // PLUGIN_ORBISK_STATE_H_
