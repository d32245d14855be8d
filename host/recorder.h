#ifndef HOST_RECORDER_H_
#define HOST_RECORDER_H_

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <exception>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "host/animation.h"
#include "host/pictures.h"

namespace host {

/// Makes the pictures of a headless run, on a thread of its own, so that neither commands nor frames wait for
/// an encoder.
class Recorder {
 public:
  struct Files {
    std::vector<std::string> stills;
    std::string contact_sheet;
    std::string animation;
    bool animation_cut_off = false;  // the run was longer than the animation may be
    uint64_t frames_left_out = 0;    // the encoder was busy
  };

  /// Receives the path of the first still.
  using FirstPicture = std::function<void(const std::string& path)>;

  /// Pictures go into `folder`; `still_count` of them are written one by one and onto the contact sheet, of a
  /// run whose frames have `frame_bytes` bytes. The first one is written as soon as there is a frame, and
  /// then passed to `on_first_picture` on the recorder's thread, before any other frame is looked at.
  Recorder(std::string folder, size_t still_count, size_t frame_bytes, FirstPicture on_first_picture);
  /// Without Close() nothing is written but the first still.
  ~Recorder();
  Recorder(const Recorder&) = delete;
  Recorder& operator=(const Recorder&) = delete;

  /// Takes a frame; leaves it out when too many still wait, or when it comes after the end. Does not block.
  ///
  /// Thread   any; times must not decrease.
  void Add(TimedFrame frame);

  /// Throws HostError when a picture could not be made: no others will be.
  void Check() const;

  /// The run is over: all files are written, on the recorder's thread.
  void Close();

  /// Waits, after Close(), until they are.
  ///
  /// Failure  HostError: there was no frame, or a file cannot be written.
  Files Finish();

 private:
  enum class State { kRunning, kClosed, kGivenUp };

  void Work();
  void TakeFrames();
  void WriteFirstStill(const Frame& frame);
  void WriteFiles();
  std::string StillPath(size_t number) const;
  void End(State state);

  const std::string folder_;
  const size_t still_count_;
  const FirstPicture on_first_picture_;

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  // Guarded by `mutex_`.
  std::deque<TimedFrame> waiting_;
  State state_ = State::kRunning;
  uint64_t left_out_ = 0;
  std::exception_ptr failure_;

  // The thread's, and Finish()'s once that has ended.
  FrameReservoir stills_;
  Animation animation_;
  Files files_;

  std::thread thread_;  // last: it uses all of the above
};

}  // namespace host

#endif  // HOST_RECORDER_H_
