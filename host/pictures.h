// Still pictures of a run: which frames to keep, PNG files, the contact sheet.

#ifndef HOST_PICTURES_H_
#define HOST_PICTURES_H_

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "host/frame.h"
#include "host/orientation.h"

namespace host {

/// A frame, when in the run it was drawn, and how the device was held.
struct TimedFrame {
  std::shared_ptr<const Frame> frame;
  double seconds = 0.0;
  Orientation orientation;
};

/// Keeps frames evenly spaced over a run whose length nobody knows: every frame at first; every second one
/// once it is full, then every fourth, and so on.
class FrameReservoir {
 public:
  /// `capacity` is at least 2. Between a half of it and all of it is in use once that many frames have come.
  explicit FrameReservoir(size_t capacity) : capacity_(capacity) {}

  void Add(const TimedFrame& frame);

  /// `count` of the kept frames, evenly spaced in time from the first to the last; all of them where there
  /// are no more. The first frame that came is always the first of them.
  std::vector<TimedFrame> Spread(size_t count) const;

 private:
  const size_t capacity_;
  size_t step_ = 1;
  size_t seen_ = 0;
  std::vector<TimedFrame> kept_;
};

/// Writes the frame in full size, transparent where it is.
///
/// Failure  HostError, also from the next one.
void WritePng(const Frame& frame, const std::string& path);

/// Writes the frames, scaled down, in rows of four, the time and the orientation under each.
void WriteContactSheet(const std::vector<TimedFrame>& frames, const std::string& path);

}  // namespace host

#endif  // HOST_PICTURES_H_
