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
#include "plugin/thread_safety.h"
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

/// A std::mutex of which clang knows that it is a lock.
class ORBISK_LOCK_TYPE StateMutex : public std::mutex {
 public:
  void lock() ORBISK_ACQUIRES() { std::mutex::lock(); }
  bool try_lock() ORBISK_TRIES(true) { return std::mutex::try_lock(); }
  void unlock() ORBISK_RELEASES() { std::mutex::unlock(); }
};

/// The one viewer: all that belongs to the texture on show. Commands (platform thread), the pixel-buffer callback
/// (raster thread) and the render thread share it.
struct OrbiskState {
  StateMutex mutex;

  std::unique_ptr<EGLRenderer> renderer ORBISK_GUARDED_BY(mutex);
  GLBModel model ORBISK_GUARDED_BY(mutex);
  std::unique_ptr<FlutterDesktopPixelBuffer> spare_pixel_buffer ORBISK_GUARDED_BY(mutex);  // never filled
  // What the engine copies frames from. `buffer` is an array of `width * height * 4` bytes made with new[]; only
  // "dispose" takes it back, so that a destroyed state takes no pixels away from an engine that still copies them.
  std::unique_ptr<FlutterDesktopPixelBuffer> pixel_buffer ORBISK_GUARDED_BY(mutex);
  // What the last "dispose" took back, whole: the engine may be copying from it. The next one frees it.
  std::unique_ptr<FlutterDesktopPixelBuffer> retired_pixel_buffer ORBISK_GUARDED_BY(mutex);
  std::unique_ptr<const uint8_t[]> retired_pixels ORBISK_GUARDED_BY(mutex);

  // Current orientation: the render thread turns the model by the quaternion.
  float quat_x ORBISK_GUARDED_BY(mutex) = 0.0f;
  float quat_y ORBISK_GUARDED_BY(mutex) = 0.0f;
  float quat_z ORBISK_GUARDED_BY(mutex) = 0.0f;
  float quat_w ORBISK_GUARDED_BY(mutex) = 1.0f;
  // The same in degrees, as received or derived; kept, read by nobody.
  float yaw ORBISK_GUARDED_BY(mutex) = 0.0f;
  float pitch ORBISK_GUARDED_BY(mutex) = 0.0f;
  float roll ORBISK_GUARDED_BY(mutex) = 0.0f;

  // Reference orientation, in degrees.
  float base_yaw ORBISK_GUARDED_BY(mutex) = 0.0f;
  float base_pitch ORBISK_GUARDED_BY(mutex) = 0.0f;
  float base_roll ORBISK_GUARDED_BY(mutex) = 0.0f;

  // View.
  float camera_distance ORBISK_GUARDED_BY(mutex) = 3.5f;  // view units; a fitted model is 1.5 long before model_scale
  float model_scale ORBISK_GUARDED_BY(mutex) = 1.2f;      // on top of the automatic fit

  // Platform thread only.
  std::unique_ptr<std::thread> render_thread;
  // Outlives "dispose", and the state: the engine may still ask it for a frame.
  std::unique_ptr<flutter::TextureVariant> texture;
  std::shared_ptr<ViewerPath> texture_path;  // what `texture` asks

  // Read without the lock at the top of every frame.
  std::atomic<bool> stop_requested{false};
  // True after "dispose": no frames are handed out and the render thread ends.
  std::atomic<bool> disposed{false};
  // -1: no texture is registered. The render thread reads it without the lock.
  std::atomic<int64_t> texture_id{-1};
  std::atomic<bool> rendering{false};  // written by the render thread alone

  // Kept by StateLock: how many threads wait for `mutex`, and how many have been let in so far.
  std::atomic<unsigned> lock_waiters{0};
  std::atomic<unsigned> lock_admissions{0};
};

/// The viewer that there is; empty until the first "createTexture".
///
/// Thread   the platform thread.
extern std::unique_ptr<OrbiskState> g_viewer_state;

/// Holds the state's mutex, as everybody but the render thread takes it: while it waits, the render thread can see
/// it waiting.
class ORBISK_LOCK_HOLDER StateLock {
 public:
  explicit StateLock(OrbiskState& state) ORBISK_ACQUIRES(state.mutex) : mutex_(state.mutex) {
    const Waiting waiting(state);
    mutex_.lock();
  }
  ~StateLock() ORBISK_RELEASES() { mutex_.unlock(); }
  StateLock(const StateLock&) = delete;
  StateLock& operator=(const StateLock&) = delete;

 private:
  struct Waiting {
    explicit Waiting(OrbiskState& waited_for) : state(waited_for) { ++state.lock_waiters; }
    ~Waiting() {
      ++state.lock_admissions;
      --state.lock_waiters;
    }
    OrbiskState& state;
  };

  StateMutex& mutex_;
};

/// Holds the state's mutex, as the render thread takes it.
class ORBISK_LOCK_HOLDER RenderLock {
 public:
  explicit RenderLock(OrbiskState& state) ORBISK_ACQUIRES(state.mutex) : mutex_(state.mutex) { mutex_.lock(); }
  ~RenderLock() ORBISK_RELEASES() { mutex_.unlock(); }
  RenderLock(const RenderLock&) = delete;
  RenderLock& operator=(const RenderLock&) = delete;

 private:
  StateMutex& mutex_;
};

/// Lets the threads in that are waiting for the state's mutex now; returns at once when there are none.
///
/// The mutex is not fair: the render thread, which unlocks it and locks it again at once, would keep winning
/// against a command for many frames. It waits only for as many admissions as there are waiters, so a flood of
/// commands cannot hold it up either.
///
/// Thread   the render thread, without the mutex.
inline void LetWaitersIn(const OrbiskState& state) ORBISK_EXCLUDES(state.mutex) {
  const unsigned waiters = state.lock_waiters;
  const unsigned admissions_before = state.lock_admissions;
  while (state.lock_waiters > 0 && state.lock_admissions - admissions_before < waiters) {
    std::this_thread::sleep_for(std::chrono::microseconds(50));
  }
}

#endif  // PLUGIN_ORBISK_STATE_H_
