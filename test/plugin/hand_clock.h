#ifndef TEST_PLUGIN_HAND_CLOCK_H_
#define TEST_PLUGIN_HAND_CLOCK_H_

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <vector>

/// A clock for the thread that makes it, for as long as it lives: the thread's monotonic clock stands still until
/// somebody advances it, and its sleeps advance it by their length and take no time. What a thread makes of time can
/// thus be told to the nanosecond, on however slow and busy a machine.
///
/// The program's own clock_gettime and nanosleep stand in front of the C library's. Threads without a clock of their
/// own have the real one; the half second that the plug-in's end leaves the engine is not slept on any, because the
/// fake engine does not need it.
///
/// Thread   made and destroyed on the thread whose clock it is; the rest from any.
class HandClock {
 public:
  HandClock();
  ~HandClock();
  HandClock(const HandClock&) = delete;
  HandClock& operator=(const HandClock&) = delete;

  void Advance(std::chrono::nanoseconds time);

  /// Calls `hook` on the thread before each of its sleeps, without a lock; an empty one ends that.
  ///
  /// Thread   the one whose clock it is.
  void SetSleepHook(std::function<void(std::chrono::nanoseconds length)> hook);

  /// The sleeps that the thread has asked for so far, in order.
  std::vector<std::chrono::nanoseconds> sleeps() const;

  /// Waits until the thread has looked at its clock `count` times in all; false when it has not for a minute.
  [[nodiscard]] bool WaitForReadings(int count) const;

  // What the thread itself does, called by the functions that stand in front of the C library's.
  std::chrono::nanoseconds Read();
  void Sleep(std::chrono::nanoseconds length);

 private:
  std::function<void(std::chrono::nanoseconds)> sleep_hook_;
  mutable std::mutex mutex_;
  mutable std::condition_variable was_read_;
  // Guarded by `mutex_`.
  std::chrono::nanoseconds now_{std::chrono::hours(1)};
  int readings_ = 0;
  std::vector<std::chrono::nanoseconds> sleeps_;
};

#endif  // TEST_PLUGIN_HAND_CLOCK_H_
