#ifndef HOST_ANIMATION_H_
#define HOST_ANIMATION_H_

#include <cstddef>
#include <memory>
#include <string>

#include "host/pictures.h"

namespace host {

/// An animated WebP picture that loops: the run at its own speed, about 15 pictures a second, scaled down.
/// Each picture is compressed as it comes, so that a minute takes some megabytes of memory and not gigabytes.
///
/// Failure  HostError from every member.
class Animation {
 public:
  static constexpr double kPicturesPerSecond = 15.0;
  static constexpr double kLongest_s = 60.0;

  Animation();
  ~Animation();
  Animation(const Animation&) = delete;
  Animation& operator=(const Animation&) = delete;

  /// Takes the frame if the next picture is due; leaves it out else, or when it comes later than kLongest_s.
  /// Times do not decrease; the size is that of the first frame.
  void Add(const TimedFrame& frame);

  size_t picture_count() const { return picture_count_; }
  bool cut_off() const { return cut_off_; }  // the run was longer than kLongest_s

  /// Writes the file; needs at least one picture.
  void Write(const std::string& path);

 private:
  struct Encoder;

  void Start(const Frame& frame);
  void Encode(const Frame& frame, int timestamp_ms);

  std::unique_ptr<Encoder> encoder_;
  size_t picture_count_ = 0;
  bool cut_off_ = false;
  double first_s_ = 0.0;
  double due_s_ = 0.0;
  int last_timestamp_ms_ = 0;
};

}  // namespace host

#endif  // HOST_ANIMATION_H_
