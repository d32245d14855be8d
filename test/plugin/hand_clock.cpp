#include "test/plugin/hand_clock.h"

#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace {

using std::chrono::nanoseconds;
using std::chrono::seconds;

thread_local HandClock* t_clock = nullptr;

}  // namespace

HandClock::HandClock() { t_clock = this; }
HandClock::~HandClock() { t_clock = nullptr; }

void HandClock::Advance(nanoseconds time) {
  const std::lock_guard<std::mutex> lock(mutex_);
  now_ += time;
}

void HandClock::SetSleepHook(std::function<void(nanoseconds length)> hook) { sleep_hook_ = std::move(hook); }

std::vector<nanoseconds> HandClock::sleeps() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return sleeps_;
}

bool HandClock::WaitForReadings(int count) const {
  std::unique_lock<std::mutex> lock(mutex_);
  return was_read_.wait_for(lock, std::chrono::minutes(1), [&] { return readings_ >= count; });
}

nanoseconds HandClock::Read() {
  const std::lock_guard<std::mutex> lock(mutex_);
  ++readings_;
  was_read_.notify_all();
  return now_;
}

void HandClock::Sleep(nanoseconds length) {
  if (sleep_hook_) sleep_hook_(length);
  const std::lock_guard<std::mutex> lock(mutex_);
  sleeps_.push_back(length);
  now_ += length;
}

extern "C" __attribute__((visibility("default"))) int clock_gettime(clockid_t id, timespec* time) {
  // The system call, because the C library's own function cannot be asked for before the program has started.
  if (id != CLOCK_MONOTONIC || t_clock == nullptr) return static_cast<int>(syscall(SYS_clock_gettime, id, time));
  const nanoseconds now = t_clock->Read();
  *time = {now / seconds(1), (now % seconds(1)).count()};
  return 0;
}

extern "C" __attribute__((visibility("default"))) int nanosleep(const timespec* request, timespec* remaining) {
  const nanoseconds length = seconds(request->tv_sec) + nanoseconds(request->tv_nsec);
  if (t_clock != nullptr) {
    t_clock->Sleep(length);
    return 0;
  }
  if (length == std::chrono::milliseconds(500)) return 0;
  const int error = clock_nanosleep(CLOCK_MONOTONIC, 0, request, remaining);
  if (error == 0) return 0;
  errno = error;
  return -1;
}
