// Where orientations come from while the host runs: a recorded run, or a live sensor on a pipe.

#ifndef HOST_IMU_FEED_H_
#define HOST_IMU_FEED_H_

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "host/imu_run.h"

namespace host {

/// Hands out orientations when they are due. The clock is that of the caller: the run began at `start`.
///
/// Thread   one and the same.
class ImuFeed {
 public:
  using Clock = std::chrono::steady_clock;

  ImuFeed() = default;
  virtual ~ImuFeed() = default;
  ImuFeed(const ImuFeed&) = delete;
  ImuFeed& operator=(const ImuFeed&) = delete;

  /// The run begins: to be called once, before the two below.
  void Start(Clock::time_point start) { start_ = start; }

  /// The next orientation whose time has come; several calls give all that are late, in order.
  ///
  /// Failure  HostError, once everything before the malformed line has been handed out.
  virtual std::optional<Orientation> TakeDue(Clock::time_point now) = 0;

  /// True when nothing will come any more.
  virtual bool ended() = 0;

  /// Waits until something may be due, `deadline` at the latest.
  virtual void WaitUntil(Clock::time_point deadline) = 0;

 protected:
  /// `seconds` after `origin`, or a year, where clocks in a file make it more than that.
  static Clock::time_point TimeAfter(Clock::time_point origin, double seconds);

  Clock::time_point start_;
};

/// A recorded run: each sample at its own time, the first one at once.
class RecordedFeed : public ImuFeed {
 public:
  /// `samples` is not empty and all have times. With `repeat` the run begins again at its end, for ever.
  RecordedFeed(std::vector<ImuSample> samples, bool repeat);

  double length_s() const { return *samples_.back().seconds - *samples_.front().seconds; }

  std::optional<Orientation> TakeDue(Clock::time_point now) override;
  bool ended() override { return next_ == samples_.size(); }
  void WaitUntil(Clock::time_point deadline) override;

 private:
  Clock::time_point NextTime() const;

  const std::vector<ImuSample> samples_;
  const bool repeat_;
  size_t next_ = 0;
  double round_start_s_ = 0.0;  // when this repetition began
};

/// A live sensor: lines that a thread reads from a descriptor as they come. The first sample is due when it
/// arrives and the others by their times after it; late ones, and all without a time, at once.
///
/// When samples come faster than their times pass, reading waits, and with it whoever writes to the pipe.
///
/// Failure  a malformed line, or an end without any sample, comes out of TakeDue as HostError and ends the
/// feed.
class LiveFeed : public ImuFeed {
 public:
  /// Borrows the descriptor. `source` is what error messages call it.
  LiveFeed(int descriptor, std::string source);
  /// Does not wait for the writer.
  ~LiveFeed() override;

  std::optional<Orientation> TakeDue(Clock::time_point now) override;
  bool ended() override;
  void WaitUntil(Clock::time_point deadline) override;

 private:
  static constexpr size_t kMostQueued = 1024;

  void Read();
  void ReadLines();
  bool WaitForInput() const;
  bool Enqueue(const ImuSample& sample);
  Clock::time_point DueTime(const ImuSample& sample) const;

  const int descriptor_;
  int stop_event_ = -1;  // readable once the thread is to end
  ImuLines lines_;       // the thread's

  std::mutex mutex_;
  std::condition_variable arrived_;  // a sample, or the end
  std::condition_variable taken_;    // a sample, or stop
  // Guarded by `mutex_`.
  std::deque<ImuSample> queue_;
  bool stop_ = false;
  bool input_ended_ = false;
  std::string failure_;  // why the input ended; empty when there was no error

  // The caller's.
  std::optional<Clock::time_point> first_arrival_;
  double first_seconds_ = 0.0;

  std::thread thread_;  // last: it uses all of the above
};

}  // namespace host

#endif  // HOST_IMU_FEED_H_
